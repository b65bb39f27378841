// SPDX-License-Identifier: GPL-2.0-only
// How long the runs of the chip's bandwidth monitors took, by what the chip itself wrote down.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "tests/oracle.h"

namespace lab {

class run_log {
  public:
    explicit run_log(const std::string &file);

    // For the oracle, which takes each run out of the log; one that the chip did not make lasted
    // for nothing. The log must outlive it.
    tests::run_length lengths();

    // The runs that are left, and how often.
    std::vector<std::string> left() const;

  private:
    std::map<tests::monitor_run, std::deque<std::uint64_t>> lengths_;
};

}  // namespace lab
