// SPDX-License-Identifier: GPL-2.0-only
// Expected register traces, in the words of the host kernel's own.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
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

inline void add_broadcast(lines &trace, bool on, std::uint32_t targets) {
    block_trace dispatch(trace, "emi_dispatch0");

    dispatch.wmb();
    dispatch.w32(0x100, on ? 0x7f7f : 0);
    dispatch.w32(0x104, on ? targets : 0);
    dispatch.wmb();
}

// Says where two traces part, rather than printing both.
inline void expect_trace(const lines &trace, const lines &expected) {
    const auto [at, wanted] =
        std::mismatch(trace.begin(), trace.end(), expected.begin(), expected.end());

    EXPECT_EQ(at != trace.end() ? *at : "the end", wanted != expected.end() ? *wanted : "the end")
        << "access " << at - trace.begin();
}

struct effi_run {
    std::string monitor;
    std::uint32_t value;
    std::uint32_t mask;
    std::uint32_t efficiency;
    std::uint32_t ultra;
    std::uint32_t preultra;
    std::optional<std::uint32_t> burst = {};  // read for port reports only
};

inline void add_effi_run(lines &trace, const effi_run &run) {
    block_trace monitor(trace, run.monitor);
    const std::uint64_t high = std::uint64_t{run.value} << 32;
    const auto update = [&monitor](std::uint32_t before, std::uint32_t after) {
        monitor.update32(0x00, before, after);
        monitor.wmb();
    };

    monitor.wmb();
    monitor.w32(0x00, 0x1);
    monitor.w32(0x00, 0x0);
    if (run.mask != 0) {
        monitor.w32(0x08, run.mask);
        monitor.w32(0x04, run.value);
    } else {
        monitor.w32(0x04, run.value);
        monitor.w32(0x08, run.mask);
    }
    monitor.update64(0x00, high, high | 0x8);
    update(0x08, 0x08);
    update(0x08, 0x48);
    update(0x48, 0x58);
    monitor.r32(0x34, 0);
    monitor.sleep("999 1001");
    monitor.r32(0x34, 1);
    monitor.r32(0x2c, run.efficiency);
    update(0x58, 0x18);
    update(0x18, 0x98);
    monitor.r32(0x2c, run.ultra);
    update(0x98, 0x18);
    update(0x18, 0x18);
    if (run.burst) {
        monitor.r32(0x2c, *run.burst);
    }
    update(0x18, 0x18);
    update(0x18, 0xd8);
    monitor.r32(0x2c, run.preultra);
    update(0xd8, 0x18);
    monitor.update64(0x00, high | 0x18, high | 0x08);
    monitor.wmb();
    monitor.update64(0x00, high | 0x08, high | 0x09);
    monitor.wmb();
    monitor.update64(0x00, high | 0x09, high | 0x08);
}

}  // namespace tests
