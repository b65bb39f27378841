// SPDX-License-Identifier: GPL-2.0-only
// Figures that were seen several times, and whether they are others than before.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace ovk {

struct summary {
    std::size_t count = 0;
    std::optional<double> median = {};
    std::optional<double> spread = {};  // of two values or more
};

// The spread is the distance between the medians of the lower and of the upper half, to neither of
// which the middle value of an odd number belongs.
summary summary_of(std::vector<double> values);

struct change_of_figure {
    std::optional<double> difference = {};
    std::optional<double> percent = {};      // of what it was; none when that was 0
    std::optional<bool> beyond_spread = {};  // of either side
    bool exceeded = false;
};

// Exceeded: it has grown by more than so many percent, and is not known to be within the spread.
change_of_figure change_between(const summary &before, const summary &after,
                                std::optional<double> max_increase_percent);

}  // namespace ovk
