// SPDX-License-Identifier: GPL-2.0-only
// Reports of a guest that slept while it measured, against the traffic that was put in.
#pragma once

#include <string>
#include <vector>

#include "devicetree/flat_tree.h"
#include "tests/oracle.h"

namespace lab {

// By how much a rate may be too high: on a machine that wakes the guest up in time, and on any.
inline constexpr unsigned quiet_machine_percent = 10;
inline constexpr unsigned any_excess_percent = 100'000;

// What is wrong with a report, or nothing. One that fills the page is judged by what has room
// there.
std::string objections_to_total(const std::string &report, const devicetree::flat_tree &tree,
                                const tests::expected_report &expected, unsigned excess_percent);
std::string objections_to_ports(const std::string &report, std::vector<std::string> expected);

}  // namespace lab
