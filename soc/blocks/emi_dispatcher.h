// SPDX-License-Identifier: GPL-2.0-only
// The EMI dispatcher: decides whether a store to channel 0 reaches the other channels as well.
#pragma once

#include <cstdint>

#include "soc/blocks/block.h"

namespace soc {

class emi_dispatcher : public block {
  public:
    emi_dispatcher(const devicetree::node &node, register_file &registers);

    // A store to channel 0 is a store to this channel too.
    bool repeats_on(std::uint32_t channel) const;

    void stored(std::uint32_t offset, unsigned width) override;
    void publish() override {}

  protected:
    void elapse(nanoseconds, nanoseconds) override {}

  private:
    std::uint32_t enable_ = 0;
    std::uint32_t members_ = 0;
};

}  // namespace soc
