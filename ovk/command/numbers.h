// SPDX-License-Identifier: GPL-2.0-only
// What stands behind options, and which of it is understood.
#pragma once

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>

namespace ovk {

// Turns "250ms", "1s", "5m" or "2h" into ns.
inline CLI::AsNumberWithUnit duration() {
    static const std::map<std::string, std::int64_t> units = {
        {"ms", 1'000'000}, {"s", 1'000'000'000}, {"m", 60'000'000'000}, {"h", 3'600'000'000'000}};
    return CLI::AsNumberWithUnit(units, CLI::AsNumberWithUnit::UNIT_REQUIRED, "TIME(ms|s|m|h)");
}

// In ns, so that times can be added up.
inline CLI::Range up_to_a_year() {
    constexpr std::int64_t day_ns = 86'400'000'000'000;
    return {std::int64_t{0}, 365 * day_ns, "UP TO A YEAR"};
}

template <class number>
CLI::Range positive() {
    return {number{1}, std::numeric_limits<number>::max(), "POSITIVE"};
}

// A finite number from 0 on; a percent sign behind it is taken away.
inline CLI::Validator percentage() {
    const auto check = [](std::string &text) {
        double value = 0;
        const std::string number = text.ends_with('%') ? text.substr(0, text.size() - 1) : text;
        if (!CLI::detail::lexical_cast(number, value) || !std::isfinite(value) || value < 0) {
            return "'" + text + "' is no percentage";
        }
        text = number;
        return std::string();
    };
    return {check, "PERCENT"};
}

}  // namespace ovk
