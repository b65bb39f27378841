// SPDX-License-Identifier: GPL-2.0-only
// A screen as cells, before any terminal has seen it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ovk::top {

enum class style { plain, strong, faint, title, good, warning, bad, bar, selected };

struct cell {
    char32_t glyph = U' ';
    style look = style::plain;
};

struct extent {
    int rows;
    int columns;
};

class canvas {
  public:
    explicit canvas(extent size);

    extent size() const { return size_; }
    const cell &at(int row, int column) const { return cells_[index(row, column)]; }

    // What lies outside is left out. A glyph is one column wide.
    void put(int row, int column, char32_t glyph, style look = style::plain);
    // Bytes of any kind: one that is no printable ASCII shows as "?".
    void put(int row, int column, std::string_view text, style look = style::plain);
    // Gives a whole row another look.
    void paint(int row, style look);

    // UTF-8, without the blanks at the end.
    std::string line(int row) const;

  private:
    std::size_t index(int row, int column) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(size_.columns) +
               static_cast<std::size_t>(column);
    }

    extent size_;
    std::vector<cell> cells_;
};

}  // namespace ovk::top
