// SPDX-License-Identifier: GPL-2.0-only
// Expected register traces, in the words of the host kernel's own.
#pragma once

#include <cstdarg>
#include <cstdio>

#include "tests/pattern.h"
#include "tests/report_text.h"

namespace tests {

// Adds accesses to a block: "404=1" stores, "410?0" loads, "f00?0:7" loads and then stores. They
// have 32 bits, or 64 with a "q" before, or only the load has 16, with an "h". Numbers are
// hexadecimal, but for those of a sleep, "~999-1001", in us. "wmb" is a barrier.
[[gnu::format(printf, 3, 4)]] inline void add(lines &trace, const std::string &block,
                                              const char *format, ...) {
    using enum host::trace_entry::kind;
    char text[256];
    va_list values;

    va_start(values, format);
    EXPECT_LT(std::vsnprintf(text, sizeof(text), format, values), static_cast<int>(sizeof(text)));
    va_end(values);
    for (const std::string &word : words_of(text)) {
        const lines parts = groups_of(word, "([hq]?)(\\w+)([=?])(\\w+)(?::(\\w+))?");
        if (parts.empty()) {
            trace.push_back(word[0] == '~' ? "sleep " + replaced(word.substr(1), "-", " ") : word);
            continue;
        }
        const unsigned width = parts[0] == "q" ? 64 : 32;
        const auto access = [&](auto kind, unsigned bits, const std::string &value) {
            trace.push_back(host::trace_entry{kind, bits, block, std::stoul(parts[1], nullptr, 16),
                                              std::stoull(value, nullptr, 16), 0, 0}
                                .text());
        };
        if (parts[2] == "?") {
            access(read, parts[0] == "h" ? 16 : width, parts[3]);
        }
        if (parts[2] == "=" || !parts[4].empty()) {
            access(write, width, parts[parts[2] == "=" ? 3 : 4]);
        }
    }
}

}  // namespace tests
