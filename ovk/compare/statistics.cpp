// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/compare/statistics.h"

#include <algorithm>
#include <cmath>

namespace ovk {

namespace {

constexpr double percent = 100;

// Of a part of sorted values that is not empty.
double median_of(std::vector<double>::const_iterator first, std::size_t count) {
    const auto middle = first + static_cast<std::ptrdiff_t>(count / 2);
    return count % 2 == 1 ? *middle : (*(middle - 1) + *middle) / 2;
}

}  // namespace

summary summary_of(std::vector<double> values) {
    const std::size_t half = values.size() / 2;
    summary found{.count = values.size()};

    std::sort(values.begin(), values.end());
    if (!values.empty()) {
        found.median = median_of(values.begin(), values.size());
    }
    if (half > 0) {
        const auto upper = values.end() - static_cast<std::ptrdiff_t>(half);
        found.spread = median_of(upper, half) - median_of(values.begin(), half);
    }
    return found;
}

change_of_figure change_between(const summary &before, const summary &after,
                                std::optional<double> max_increase_percent) {
    change_of_figure found;

    if (!before.median || !after.median) {
        return found;
    }
    const double difference = *after.median - *before.median;
    found.difference = difference;
    if (*before.median > 0) {
        found.percent = difference / *before.median * percent;
    }
    if (before.spread && after.spread) {
        found.beyond_spread = std::abs(difference) > std::max(*before.spread, *after.spread);
    }
    found.exceeded = max_increase_percent && difference > 0 &&
                     difference * percent > *max_increase_percent * *before.median &&
                     found.beyond_spread.value_or(true);
    return found;
}

}  // namespace ovk
