// SPDX-License-Identifier: GPL-2.0-only
// What the total report must say, worked out from the device tree and the traffic that was put in.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/scenario.h"

namespace tests {

struct expected_row {
    std::string name;
    std::uint64_t data = 0;  // MB/s
    std::uint64_t effi = 0;
    std::uint64_t bus = 0;  // MB/s
    std::uint64_t ultra = 0;
    std::uint64_t preultra = 0;

    bool operator==(const expected_row &) const = default;
};

struct expected_report {
    std::vector<expected_row> rows;  // of all modules, by position
    std::uint64_t total = 0;
    std::uint64_t usage = 0;
    std::int64_t slack = 0;
    std::int64_t slack_percent = 0;
};

// The sources (by their place in the scenario's notation, "larb4:2") that belong to each module.
std::map<std::string, std::vector<soc::source>> sources_by_module(
    const devicetree::flat_tree &tree);

// All modules of `tree` enabled, processing option 0.
expected_report expect_total(const devicetree::flat_tree &tree, const soc::scenario &traffic,
                             std::uint32_t dram_clock, std::uint32_t time_ms);

// What one read with all modules enabled has to wait for, in microseconds: the windows of the
// bandwidth monitors, and one poll for every efficiency measurement.
std::uint64_t expect_wait_us(const devicetree::flat_tree &tree, const soc::scenario &traffic,
                             std::uint32_t time_ms);

}  // namespace tests
