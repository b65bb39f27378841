// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/canvas.h"

#include <algorithm>

namespace ovk::top {

namespace {

// Those that are used here are ASCII, or take three bytes.
void append_utf8(std::string &to, char32_t glyph) {
    if (glyph < 0x80) {
        to += static_cast<char>(glyph);
        return;
    }
    to += static_cast<char>(0xe0 | (glyph >> 12));
    to += static_cast<char>(0x80 | ((glyph >> 6) & 0x3f));
    to += static_cast<char>(0x80 | (glyph & 0x3f));
}

}  // namespace

canvas::canvas(extent size)
    : size_{std::max(size.rows, 0), std::max(size.columns, 0)},
      cells_(index(size_.rows, 0), cell()) {}

void canvas::put(int row, int column, char32_t glyph, style look) {
    if (row >= 0 && row < size_.rows && column >= 0 && column < size_.columns) {
        cells_[index(row, column)] = {glyph, look};
    }
}

void canvas::put(int row, int column, std::string_view text, style look) {
    for (const char each : text) {
        const bool printable = each >= ' ' && each <= '~';
        put(row, column++, printable ? static_cast<char32_t>(each) : U'?', look);
    }
}

void canvas::paint(int row, style look) {
    for (int column = 0; column < size_.columns && row >= 0 && row < size_.rows; ++column) {
        cells_[index(row, column)].look = look;
    }
}

std::string canvas::line(int row) const {
    std::string text;

    for (int column = 0; column < size_.columns; ++column) {
        append_utf8(text, at(row, column).glyph);
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace ovk::top
