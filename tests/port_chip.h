// SPDX-License-Identifier: GPL-2.0-only
// A small chip for what the reports show, one thing at a time.
#pragma once

#include <string>
#include <vector>

#include "devicetree/flat_tree.h"
#include "tests/rig.h"

namespace tests {

// 32 bits at 3200 MT/s (12,800 MB/s), an EMI clock of 800 MHz and an SMI clock of 500 MHz.
//   - two EMI channels of eight ports
//   - SMI common 0 (4 inputs; outputs to EMI ports 2 and 3) with larb n at input n, for n = 0 to 2;
//     SMI common 1 (2 inputs, output to EMI port 4)
//   - modules 0 "GOP" with a group of ports on larb n for each of `port_lists`, 1 "TSP" on input 3
//     of common 0 and input 1 of common 1, 2 "REF_EMI" and 3 "SUM"
// `second_common` is the number that SMI common 1 has instead.
devicetree::flat_tree port_chip(const std::vector<std::string> &port_lists = {"3"},
                                const std::string &second_common = "1");

// Path of a node, for variations.
inline constexpr const char *path_of_common0 = "/smi_common0@1c013000";

// Traffic, by the place where it enters.
soc::source at_larb(std::uint32_t larb, std::uint32_t port, soc::flow traffic);
soc::source at_common(std::uint32_t common, std::uint32_t input, soc::flow traffic);
soc::source at_emi(std::uint32_t port, soc::flow traffic);

// Registers of measurement that are not off, as "node+0xoffset 0xvalue".
lines left_on(rig &r);

// What a read yields. It has to end with `code` or the text's size, and to leave nothing behind: no
// memory, no window, no running monitor.
std::string clean_read(rig &r, const std::string &attribute, long code = 0);

// Microseconds that a read waits.
std::uint64_t wait_of(rig &r, const std::string &attribute);

}  // namespace tests
