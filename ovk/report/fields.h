// SPDX-License-Identifier: GPL-2.0-only
// Figures and names in the lines of a report. Columns touch, and names hold blanks: a field is
// known by its place, never by the blanks around it.
#pragma once

#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

#include "ovk/report/figures.h"

namespace ovk {

using fields = std::vector<std::string_view>;

// The columns of a table whose titles and rows end where the columns end.
class columns {
  public:
    // Nothing when the line does not have just these titles.
    static std::optional<columns> under(std::string_view line,
                                        std::initializer_list<std::string_view> titles);

    // Nothing when the row is longer or shorter than the titles: something is in a wrong column.
    std::optional<fields> split(std::string_view row) const;

  private:
    std::vector<std::size_t> ends_;
};

// The cells of a line such as "|   32   |    3200  |", without the blanks around them. Nothing when
// the bars do not stand under those of the title line.
std::optional<fields> split_framed(std::string_view line, std::string_view titles);

// A field of blanks and then a number, or "-" and a number, as printf writes it. False, and nothing
// is stored: the field has something else.
bool take(std::string_view field, figure &into, int base = 10);
bool take(std::string_view field, signed_figure &into);
bool take(std::string_view field, flag &into);   // 0 or 1
bool take(std::string_view field, label &into);  // what stands behind the blanks

// A figure whose 0 stands for one that is not known.
bool take_unless_zero(std::string_view field, figure &into);

// Reads along a line whose fields are wider when what they hold is.
class scanner {
  public:
    explicit scanner(std::string_view text) : rest_(text) {}

    // Each is false, and the scanner of no more use, when something else follows.
    bool skip(std::string_view expected);
    bool number(figure &into, std::size_t width = 1, int base = 10);  // on the right of its field
    bool number(signed_figure &into, std::size_t width);
    // On the left of a field of `width`, before `mark`; it may be up to `longest`.
    bool name(label &into, std::size_t width, std::size_t longest, std::string_view mark);
    bool at_end() const { return rest_.empty(); }

  private:
    // The field of a number: blanks up to `width`, then digits.
    std::string_view number_field(std::size_t width, std::string_view digits);

    std::string_view rest_;
};

}  // namespace ovk
