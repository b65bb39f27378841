// SPDX-License-Identifier: GPL-2.0-only
// Which columns of a table there is room for.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace ovk::top {

struct column {
    const char *title;
    int least;          // columns of the screen
    int most;           // what it takes when there is more room
    int rank;           // the lower the longer it stays
    bool left = false;  // on the left of its room, as names are
};

// Where a column stands; a width of 0: nowhere.
struct place {
    int start = 0;
    int width = 0;
};

// A blank between them. What is left over goes to those that can take more, to the last ones first.
std::vector<place> places_of(std::span<const column> columns, int width);

}  // namespace ovk::top
