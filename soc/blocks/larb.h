// SPDX-License-Identifier: GPL-2.0-only
// An SMI larb: the bandwidth monitor of its ports, and the limits that software sets for them.
//
// A port with an outstanding limit of n moves at most 16 n MB/s; 0 is no limit. A bit in a force
// register gives all requests of that port ultra or pre-ultra priority, ultra when both are set.
#pragma once

#include <array>
#include <cstdint>

#include "soc/blocks/block.h"
#include "soc/traffic.h"

namespace soc {

// Counters and the longest period add up over runs until they are cleared.
class larb : public block {
  public:
    larb(const devicetree::node &node, register_file &registers, traffic &passing,
         std::uint32_t number);

    void stored(std::uint32_t offset, unsigned width) override;
    void publish() override;

  protected:
    void elapse(nanoseconds from, nanoseconds to) override;

  private:
    static constexpr std::size_t counters = 4;

    void follow_settings(std::uint32_t offset, unsigned width);
    streams at_port(std::uint32_t port) const;
    void count_four_ports(nanoseconds span);
    void count_one_port(direction wanted, nanoseconds span);
    void watch_period();
    void clear();

    traffic &passing_;
    std::uint32_t number_;
    bool running_ = false;
    std::uint32_t mode_ = 0;
    std::uint32_t ports_ = 0;
    // What a counter holds, in sixteenths of a thousandth of its unit: exact for whole nanoseconds,
    // be the unit one byte or sixteen.
    std::array<std::uint64_t, counters> counted_{};
    std::uint32_t longest_period_ = 0;  // SMI clock cycles
};

}  // namespace soc
