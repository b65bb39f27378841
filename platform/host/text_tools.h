// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>

namespace host {

// "0x" and at least that many lower-case digits.
inline std::string hexadecimal(std::uint64_t value, int digits = 1) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%0*" PRIx64, digits, value);
    return text;
}

}  // namespace host
