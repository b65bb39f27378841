// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/table.h"

#include <algorithm>
#include <numeric>

namespace ovk::top {

namespace {

std::vector<std::size_t> by_rank(std::span<const column> columns) {
    std::vector<std::size_t> order(columns.size());

    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t one, std::size_t other) {
        return columns[one].rank < columns[other].rank;
    });
    return order;
}

}  // namespace

std::vector<place> places_of(std::span<const column> columns, int width) {
    std::vector<place> places(columns.size());
    int left = width + 1;

    for (const std::size_t each : by_rank(columns)) {
        if (columns[each].least + 1 > left) {
            break;
        }
        places[each].width = columns[each].least;
        left -= columns[each].least + 1;
    }
    for (std::size_t i = columns.size(); i-- > 0;) {
        if (places[i].width != 0) {
            const int more = std::min(left, columns[i].most - columns[i].least);
            places[i].width += more;
            left -= more;
        }
    }
    int start = 0;
    for (place &each : places) {
        each.start = start;
        start += each.width == 0 ? 0 : each.width + 1;
    }
    return places;
}

}  // namespace ovk::top
