// SPDX-License-Identifier: GPL-2.0-only
// Expected register traces, in the words of the host kernel's own.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>

#include "tests/rig.h"

namespace tests {

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
