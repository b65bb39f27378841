// SPDX-License-Identifier: GPL-2.0-only
// An SMI common: the bandwidth monitor of its ports, and the choice of an output path for each of
// its inputs.
#pragma once

#include <cstdint>

#include "soc/blocks/block.h"
#include "soc/traffic.h"

namespace soc {

// The count and the longest period add up over runs until they are cleared.
class smi_common : public block {
  public:
    smi_common(const devicetree::node &node, register_file &registers, traffic &passing,
               std::uint32_t number);

    void stored(std::uint32_t offset, unsigned width) override;
    void publish() override;

  protected:
    void elapse(nanoseconds from, nanoseconds to) override;

  private:
    streams at_selected_port() const;
    void clear();

    traffic &passing_;
    std::uint32_t number_;
    bool running_ = false;
    direction watched_ = direction::read;
    std::uint32_t selection_ = 0;
    std::uint64_t moved_ = 0;           // thousandths of a byte
    std::uint32_t longest_period_ = 0;  // SMI clock cycles
};

}  // namespace soc
