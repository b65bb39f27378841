// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cstdint>
#include <string>

namespace soc {

// A run of a bandwidth monitor, with what its registers held when it started. It counts exactly
// from start to end, which are in nanoseconds since power-on.
struct run {
    std::string block;
    std::uint32_t mode = 0;       // of a larb; the direction of an SMI common
    std::uint32_t selection = 0;  // of ports
    std::uint64_t start = 0;
    std::uint64_t end = 0;
};

}  // namespace soc
