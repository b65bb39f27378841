// SPDX-License-Identifier: GPL-2.0-only
// The CPU priority block: address ranges whose accesses go first. The model keeps them, and they
// change no traffic.
#pragma once

#include <cstdint>

#include "soc/blocks/block.h"

namespace soc {

class cpu_priority : public block {
  public:
    cpu_priority(const devicetree::node &node, register_file &registers);

    void stored(std::uint32_t, unsigned) override {}
    void publish() override {}

  protected:
    void elapse(nanoseconds, nanoseconds) override {}
};

}  // namespace soc
