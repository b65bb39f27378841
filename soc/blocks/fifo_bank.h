// SPDX-License-Identifier: GPL-2.0-only
// A FIFO monitor: a bank of the register bus that watches a FIFO of one module.
//
// While the monitor is enabled, the FIFO is "not done" whenever limits or masks keep traffic from
// the module's ports: the status word then holds the MB/s that are missing, and the not-done flag
// is set. Both go back to 0 when nothing is missing any more or the monitor is switched off. The
// bank writes the two only when its finding changes, so what a preset or an instrument puts there
// stays until then. The thresholds are kept and change nothing.
#pragma once

#include <cstdint>
#include <optional>

#include "soc/blocks/block.h"
#include "soc/traffic.h"

namespace soc {

// The registers of a FIFO's bank; nothing when the node does not say where it is.
std::optional<devicetree::range> fifo_bank_window(const devicetree::node &node);

class fifo_bank : public block {
  public:
    fifo_bank(const devicetree::node &node, const devicetree::range &window,
              register_file &registers, const traffic &passing, module_ports ports);

    void stored(std::uint32_t offset, unsigned width) override;
    void publish() override;

  protected:
    void elapse(nanoseconds, nanoseconds) override {}

  private:
    const traffic &passing_;
    module_ports ports_;
    bool enabled_ = false;
    std::uint32_t shown_ = 0;  // MB/s
};

}  // namespace soc
