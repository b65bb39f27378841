// SPDX-License-Identifier: GPL-2.0-only
// Expected register traces, in the words of the host kernel's own.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "tests/pattern.h"
#include "tests/report_text.h"

namespace tests {

// Adds accesses to a block: "404=1" stores, "410?0" loads, "f00?0:7" loads and then stores. They
// have 32 bits, or 64 with a "q" before, or only the load has 16, with an "h". Numbers are
// hexadecimal, but for those of a sleep, "~999-1001", in us. "wmb" is a barrier.
[[gnu::format(printf, 3, 4)]] inline void add(lines &trace, const std::string &block,
                                              const char *format, ...) {
    char text[256];
    va_list values;

    va_start(values, format);
    EXPECT_LT(std::vsnprintf(text, sizeof(text), format, values), static_cast<int>(sizeof(text)));
    va_end(values);
    for (const std::string &word : words_of(text)) {
        const lines parts = groups_of(word, "([hq]?)(\\w+)([=?])(\\w+)(?::(\\w+))?");
        const auto access = [&](const std::string &kind, int digits, const std::string &value) {
            char line[64];
            std::snprintf(line, sizeof(line), "+0x%03lx 0x%0*llx",
                          std::stoul(parts[1], nullptr, 16), digits,
                          std::stoull(value, nullptr, 16));
            trace.push_back(kind + " " + block + line);
        };
        if (parts.empty()) {
            trace.push_back(word[0] == '~' ? "sleep " + replaced(word.substr(1), "-", " ") : word);
            continue;
        }
        const bool wide = parts[0] == "q";
        if (parts[2] == "?") {
            parts[0] == "h" ? access("R16", 4, parts[3])
                            : access(wide ? "R64" : "R32", wide ? 16 : 8, parts[3]);
        }
        if (parts[2] == "=" || !parts[4].empty()) {
            access(wide ? "W64" : "W32", wide ? 16 : 8, parts[2] == "=" ? parts[3] : parts[4]);
        }
    }
}

inline std::string hex(std::uint64_t value, int digits) {
    char text[2 + 16 + 1];

    std::snprintf(text, sizeof(text), "0x%0*llx", digits, static_cast<unsigned long long>(value));
    return text;
}

// Expected accesses to one block.
class block_trace {
  public:
    block_trace(lines &trace, std::string node) : trace_(trace), node_(std::move(node)) {}

    void r32(std::uint32_t offset, std::uint32_t value) { add("R32", offset, value, 8); }
    void w32(std::uint32_t offset, std::uint32_t value) { add("W32", offset, value, 8); }
    void r64(std::uint32_t offset, std::uint64_t value) { add("R64", offset, value, 16); }
    void w64(std::uint32_t offset, std::uint64_t value) { add("W64", offset, value, 16); }
    void wmb() { trace_.emplace_back("wmb"); }
    void sleep(const std::string &range) { trace_.push_back("sleep " + range); }

    // Read-modify-writes: of 32 bits, of the lower 16 of them, and of 64.
    void update32(std::uint32_t offset, std::uint32_t before, std::uint32_t after) {
        r32(offset, before);
        w32(offset, after);
    }
    void update_low16(std::uint32_t offset, std::uint32_t before, std::uint32_t after) {
        add("R16", offset, before, 4);
        w32(offset, after);
    }
    void update64(std::uint32_t offset, std::uint64_t before, std::uint64_t after) {
        r64(offset, before);
        w64(offset, after);
    }

  private:
    void add(const char *access, std::uint32_t offset, std::uint64_t value, int digits) {
        trace_.push_back(std::string(access) + " " + node_ + "+" + hex(offset, 3) + " " +
                         hex(value, digits));
    }

    lines &trace_;
    std::string node_;
};

}  // namespace tests
