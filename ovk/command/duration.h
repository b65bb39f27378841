// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <map>
#include <string>

namespace ovk {

// Turns "250ms", "1s", "5m" or "2h" into ns.
inline CLI::AsNumberWithUnit duration() {
    static const std::map<std::string, std::int64_t> units = {
        {"ms", 1'000'000}, {"s", 1'000'000'000}, {"m", 60'000'000'000}, {"h", 3'600'000'000'000}};
    return CLI::AsNumberWithUnit(units, CLI::AsNumberWithUnit::UNIT_REQUIRED, "TIME(ms|s|m|h)");
}

}  // namespace ovk
