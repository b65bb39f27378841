// SPDX-License-Identifier: GPL-2.0-only
// Register accesses in words, for what a module does and for what a test does in its place.
#pragma once

#include <cstdarg>
#include <cstdio>

#include "tests/pattern.h"
#include "tests/report_text.h"

namespace tests {

// Accesses to a block: "404=1" stores, "410?0" loads, "f00?0:7" loads and then stores. They have 32
// bits, or 64 with a "q" before, or only the load has 16, with an "h". Numbers are hexadecimal, but
// for those of a sleep, "~999-1001" or "~800", in us. "wmb" is a barrier.
[[gnu::format(printf, 2, 0)]] inline std::vector<host::trace_entry> accesses(
    const std::string &block, const char *format, va_list values) {
    using enum host::trace_entry::kind;
    char text[256];
    std::vector<host::trace_entry> all;
    const auto hex = [](const std::string &digits) { return std::stoull(digits, nullptr, 16); };

    EXPECT_LT(std::vsnprintf(text, sizeof(text), format, values), static_cast<int>(sizeof(text)));
    for (const std::string &word : words_of(text)) {
        const lines times = groups_of(word, "~(\\d+)-?(\\d*)");
        const lines parts = groups_of(word, "([hq]?)(\\w+)([=?])(\\w+)(?::(\\w+))?");
        if (!times.empty()) {
            const std::string &most = times[times[1].empty() ? 0 : 1];
            all.push_back({sleep, 0, {}, 0, 0, std::stoull(times[0]), std::stoull(most)});
        } else if (parts.empty()) {
            EXPECT_EQ(word, "wmb");
            all.push_back({barrier, 0, {}, 0, 0, 0, 0});
        } else {
            const unsigned width = parts[0] == "q" ? 64 : 32;
            const unsigned loaded = parts[0] == "h" ? 16 : width;
            if (parts[2] == "?") {
                all.push_back({read, loaded, block, hex(parts[1]), hex(parts[3]), 0, 0});
            }
            if (parts[2] == "=" || !parts[4].empty()) {
                const std::string &value = parts[parts[2] == "=" ? 3 : 4];
                all.push_back({write, width, block, hex(parts[1]), hex(value), 0, 0});
            }
        }
    }
    return all;
}

// Adds them to what the host kernel's trace must be.
[[gnu::format(printf, 3, 4)]] inline void add(lines &trace, const std::string &block,
                                              const char *format, ...) {
    va_list values;

    va_start(values, format);
    for (const host::trace_entry &each : accesses(block, format, values)) {
        trace.push_back(each.text());
    }
    va_end(values);
}

}  // namespace tests
