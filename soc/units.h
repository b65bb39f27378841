// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cstdint>

namespace soc {

using nanoseconds = std::uint64_t;  // since power-on

inline constexpr std::uint64_t ns_per_us = 1000;
inline constexpr unsigned bits_per_byte = 8;

}  // namespace soc
