// SPDX-License-Identifier: GPL-2.0-only
// The two ways to look: on a terminal with keys, and as lines that follow each other.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>

#include "ovk/source/source.h"

namespace ovk::top {

struct options {
    std::int64_t every_ns = 1'000'000'000;
    std::uint64_t count = 0;  // sweeps; 0: no end
    std::optional<std::uint32_t> time_ms = {};
};

// Both throw failure: interrupted, or what ends a look otherwise. On a terminal, a source that
// fails is shown, and tried again.
void look_live(source &from, const options &how);
void print_lines(source &from, const options &how, std::ostream &out);

}  // namespace ovk::top
