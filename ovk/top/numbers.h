// SPDX-License-Identifier: GPL-2.0-only
// Figures as text; "-" is one that is not known.
#pragma once

#include <string>

#include "ovk/report/figures.h"

namespace ovk::top {

constexpr std::int64_t ns_per_s = 1'000'000'000;
constexpr std::int64_t ns_per_ms = 1'000'000;

template <class number>
std::string text_of(const std::optional<number> &value) {
    return value ? std::to_string(*value) : "-";
}

// With its sign.
inline std::string change_text(const signed_figure &value) {
    return value && *value > 0 ? "+" + std::to_string(*value) : text_of(value);
}

inline std::string text_of(const flag &value) {
    return value ? (*value ? "yes" : "no") : "-";
}

// Seconds with a tenth: "0.4", from ten minutes on without.
inline std::string seconds_text(std::int64_t ns) {
    const std::int64_t tenths = ns / (ns_per_s / 10);
    const std::string whole = std::to_string(tenths / 10);
    return tenths < 6000 ? whole + "." + std::to_string(tenths % 10) : whole;
}

// On the right of `width` columns.
inline std::string on_the_right(const std::string &text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

}  // namespace ovk::top
