// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/graphs.h"

#include <algorithm>

namespace ovk::top {

namespace {

constexpr std::uint64_t parts = 8;  // of a block

constexpr char32_t full_block = U'\u2588';
constexpr char32_t left_blocks = U'\u2590';   // and below it from one part to all
constexpr char32_t lower_blocks = U'\u2580';  // and above it the same
constexpr std::u32string_view ascii_levels = U"_.:-=+*#";

char32_t level_glyph(std::uint64_t value, std::uint64_t most, glyphs drawn_with) {
    const std::uint64_t level = most == 0 ? 0 : (value * (parts - 1) + most / 2) / most;

    return drawn_with == glyphs::ascii ? ascii_levels[level]
                                       : static_cast<char32_t>(lower_blocks + 1 + level);
}

}  // namespace

std::u32string bar_of(std::uint64_t value, std::uint64_t full, int width, glyphs drawn_with) {
    const std::uint64_t steps = drawn_with == glyphs::ascii ? 1 : parts;
    const std::uint64_t room = static_cast<std::uint64_t>(std::max(width, 0)) * steps;
    const std::uint64_t wanted = full == 0 ? 0 : (value * room + full / 2) / full;
    const std::uint64_t length =
        std::clamp<std::uint64_t>(wanted, value == 0 || full == 0 ? 0 : 1, room);
    std::u32string bar(length / steps, drawn_with == glyphs::ascii ? U'#' : full_block);

    if (length % steps != 0) {
        bar += static_cast<char32_t>(left_blocks - length % steps);
    }
    return bar;
}

std::size_t values_a_column(int width) {
    const auto columns = static_cast<std::size_t>(std::max(width, 1));
    return (history_depth + columns - 1) / columns;
}

std::vector<int> columns_of(std::size_t values, std::uint64_t count, int width) {
    const std::uint64_t shared = values_a_column(width);
    const std::uint64_t last = count == 0 ? 0 : (count - 1) / shared;
    std::vector<int> found;

    for (std::uint64_t number = count - values; number < count; ++number) {
        found.push_back(width - 1 - static_cast<int>(last - number / shared));
    }
    return found;
}

std::u32string sparkline_of(const std::vector<figure> &values, std::uint64_t count, int width,
                            glyphs drawn_with) {
    const std::vector<int> columns = columns_of(values.size(), count, width);
    std::vector<figure> largest(static_cast<std::size_t>(std::max(width, 0)));
    std::uint64_t most = 0;

    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] && columns[i] >= 0) {
            figure &here = largest[static_cast<std::size_t>(columns[i])];
            here = std::max(here.value_or(0), *values[i]);
            most = std::max(most, *here);
        }
    }
    std::u32string line;
    for (const figure &each : largest) {
        line += each ? level_glyph(*each, most, drawn_with) : U' ';
    }
    return line;
}

}  // namespace ovk::top
