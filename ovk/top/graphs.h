// SPDX-License-Identifier: GPL-2.0-only
// Bars and sparklines, a glyph a column.
#pragma once

#include <string>
#include <vector>

#include "ovk/top/layout.h"

namespace ovk::top {

// `value` of `full`, in `width` columns. What is not 0 is to be seen.
std::u32string bar_of(std::uint64_t value, std::uint64_t full, int width, glyphs drawn_with);

// The last of the values, the youngest on the right. Where there are more than columns, as many
// share one as are needed to show `history_depth` of them, and the largest is shown; those that
// share one do so as long as they are to be seen, as `count` is how many there ever were. A column
// without a known value is blank.
std::u32string sparkline_of(const std::vector<figure> &values, std::uint64_t count, int width,
                            glyphs drawn_with);

// How many values share a column of a sparkline.
std::size_t values_a_column(int width);

// The column of each value of a sparkline, counted from its left end; negative: not to be seen.
std::vector<int> columns_of(std::size_t values, std::uint64_t count, int width);

}  // namespace ovk::top
