// SPDX-License-Identifier: GPL-2.0-only
// What the port reports must say, worked out from the device tree and the traffic that was put in.
//
// Expected reports are the titles and rows of their text, words apart by single blanks. Times are
// at least 1 ms; waiting times are in microseconds and leave out what a monitor that hangs adds.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/scenario.h"

namespace tests {

using lines = std::vector<std::string>;

class port_oracle {
  public:
    // Both must outlive the oracle.
    port_oracle(const devicetree::flat_tree &tree, const soc::scenario &traffic,
                std::uint32_t time_ms);

    lines larb_report(std::uint32_t module) const;
    std::uint64_t larb_wait_us(std::uint32_t module) const;

    lines common_report() const;
    std::uint64_t common_wait_us() const;

    lines emi_total() const;
    lines emi_detail() const;
    std::uint64_t emi_wait_us() const;

    std::uint64_t bus_percent(std::uint32_t dram_clock) const;

  private:
    const devicetree::flat_tree &tree_;
    const soc::scenario &traffic_;
    std::uint32_t time_ms_;
};

// The EMI port behind an output of an SMI common.
std::uint32_t emi_port_behind(const devicetree::flat_tree &tree, std::uint32_t common,
                              std::uint32_t output);

}  // namespace tests
