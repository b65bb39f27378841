// SPDX-License-Identifier: GPL-2.0-only
// What a test of the lab knows of the chips.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "soc/register_file.h"
#include "tests/oracle.h"

namespace lab {

// Where the monitors hold their efficiency configuration: eight registers each.
std::vector<std::uint64_t> configuration_of(const devicetree::flat_tree &tree);

// They hold what the host kernel gives them.
void expect_configured(const std::string &soc, const soc::register_file &registers);

// Commands that let every module take part in the total report.
std::string enable_all(const devicetree::flat_tree &tree, std::uint32_t time_ms);

// How long the runs of the chip's bandwidth monitors took, by what the chip itself wrote down.
class run_log {
  public:
    explicit run_log(const std::string &file);

    // For the oracle, which takes each run out of the log; one that the chip did not make lasted
    // for nothing. The log must outlive it.
    tests::run_length lengths();

    // The blocks whose runs are left.
    tests::lines left() const;

  private:
    std::multimap<tests::monitor_run, std::uint64_t> runs_;  // like ones in their order
};

}  // namespace lab
