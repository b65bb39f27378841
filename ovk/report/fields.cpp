// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/fields.h"

#include <algorithm>
#include <charconv>

namespace ovk {

namespace {

constexpr std::string_view decimal_digits = "0123456789";
constexpr std::string_view hexadecimal_digits = "0123456789abcdefABCDEF";

std::string_view without_leading_blanks(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::string_view without_trailing_blanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// No sign but "-", no leading zero, nothing behind.
template <class number>
bool convert(std::string_view digits, std::optional<number> &into, int base) {
    number value = 0;
    const std::string_view magnitude = digits.substr(digits.starts_with('-') ? 1 : 0);
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, base);

    if (error != std::errc() || end != digits.data() + digits.size() ||
        (magnitude.size() > 1 && magnitude.starts_with('0'))) {
        return false;
    }
    into = value;
    return true;
}

}  // namespace

std::optional<columns> columns::under(std::string_view line,
                                      std::initializer_list<std::string_view> titles) {
    columns found;
    std::size_t end = 0;

    for (const std::string_view title : titles) {
        const std::size_t start = line.find_first_not_of(' ', end);
        if (start == line.npos || line.substr(start, title.size()) != title) {
            return std::nullopt;
        }
        end = start + title.size();
        found.ends_.push_back(end);
    }
    return end == line.size() ? std::optional(found) : std::nullopt;
}

std::optional<fields> columns::split(std::string_view row) const {
    fields found;
    std::size_t start = 0;

    if (row.size() != ends_.back()) {
        return std::nullopt;
    }
    for (const std::size_t end : ends_) {
        found.push_back(row.substr(start, end - start));
        start = end;
    }
    return found;
}

std::optional<fields> split_framed(std::string_view line, std::string_view titles) {
    fields found;
    std::size_t start = 0;

    if (line.size() != titles.size() || !line.starts_with('|')) {
        return std::nullopt;
    }
    for (std::size_t i = 1; i < line.size(); ++i) {
        if ((line[i] == '|') != (titles[i] == '|')) {
            return std::nullopt;
        }
        if (line[i] == '|') {
            const std::string_view cell = line.substr(start + 1, i - start - 1);
            found.push_back(without_trailing_blanks(without_leading_blanks(cell)));
            start = i;
        }
    }
    return start + 1 == line.size() ? std::optional(found) : std::nullopt;
}

bool take(std::string_view field, figure &into, int base) {
    return convert(without_leading_blanks(field), into, base);
}

bool take(std::string_view field, signed_figure &into) {
    return convert(without_leading_blanks(field), into, 10);
}

bool take(std::string_view field, flag &into) {
    figure bit;
    if (!take(field, bit) || *bit > 1) {
        return false;
    }
    into = *bit == 1;
    return true;
}

bool take(std::string_view field, label &into) {
    into = without_leading_blanks(field);
    return true;
}

bool take_unless_zero(std::string_view field, figure &into) {
    figure value;
    if (!take(field, value)) {
        return false;
    }
    if (*value != 0) {
        into = value;
    }
    return true;
}

bool scanner::skip(std::string_view expected) {
    if (!rest_.starts_with(expected)) {
        return false;
    }
    rest_.remove_prefix(expected.size());
    return true;
}

std::string_view scanner::number_field(std::size_t width, std::string_view digits) {
    const std::size_t start = std::min(rest_.find_first_not_of(' '), rest_.size());
    const std::size_t end = std::min(rest_.find_first_not_of(digits, start), rest_.size());
    const std::string_view field = rest_.substr(0, end);

    rest_.remove_prefix(end);
    // One that is wider than its field has no blanks before it.
    return end == width || (end > width && start == 0) ? field : std::string_view();
}

bool scanner::number(figure &into, std::size_t width, int base) {
    return take(number_field(width, base == 16 ? hexadecimal_digits : decimal_digits), into, base);
}

bool scanner::number(signed_figure &into, std::size_t width) {
    return take(number_field(width, "-0123456789"), into);
}

bool scanner::name(label &into, std::size_t width, std::size_t longest, std::string_view mark) {
    for (std::size_t end = width; end <= longest && end <= rest_.size(); ++end) {
        if (rest_.substr(end).starts_with(mark)) {
            into = without_trailing_blanks(rest_.substr(0, end));
            rest_.remove_prefix(end + mark.size());
            return true;
        }
    }
    return false;
}

}  // namespace ovk
