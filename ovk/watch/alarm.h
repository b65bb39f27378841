// SPDX-License-Identifier: GPL-2.0-only
// When conditions have held for long enough.
#pragma once

#include "ovk/watch/condition.h"

namespace ovk {

class alarm {
  public:
    // Rings when all conditions hold for so many sweeps in a row.
    alarm(std::vector<condition> conditions, std::uint64_t sweeps)
        : conditions_(std::move(conditions)), needed_(sweeps) {}

    const std::vector<condition> &conditions() const { return conditions_; }

    // What the conditions are in this sweep, whose figures `of` tells by the name of a report. A
    // false one makes the whole false, whatever is not known.
    template <class figures_of_report>
    truth look(figures_of_report &&of, std::vector<std::string> &unknown) const {
        truth all = truth::yes;
        for (const condition &each : conditions_) {
            const truth found = each.holds(of(each.report()));
            if (found == truth::unknown) {
                unknown.push_back(each.figure());
            }
            all = found == truth::no || all == truth::no ? truth::no
                  : found == truth::unknown              ? truth::unknown
                                                         : all;
        }
        return all;
    }

    // True once for each time that it comes true. What is not known ends a row of sweeps.
    bool rings(truth now) {
        in_row_ = now == truth::yes ? in_row_ + 1 : 0;
        return in_row_ == needed_;
    }

  private:
    std::vector<condition> conditions_;
    std::uint64_t needed_;
    std::uint64_t in_row_ = 0;
};

}  // namespace ovk
