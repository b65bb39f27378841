// SPDX-License-Identifier: GPL-2.0-only
// The sibling module ovk-smi-tv: masks ports in the MIU2GMC blocks.
#pragma once

#include <mutex>

#include "devicetree/flat_tree.h"
#include "platform/host/board.h"
#include "platform/host/fault_plan.h"

namespace host {

class port_masks {
  public:
    port_masks(const devicetree::flat_tree &tree, board &hardware, fault_plan &faults)
        : tree_(tree), hardware_(hardware), faults_(faults) {}

    // 0, -EINVAL when the port does not exist or the request is made to fail, or -ENODEV when the
    // block does not exist.
    int request(int id, int port, bool enable);

  private:
    const devicetree::flat_tree &tree_;
    board &hardware_;
    fault_plan &faults_;
    std::mutex guard_;  // one request at a time
};

}  // namespace host
