// SPDX-License-Identifier: GPL-2.0-only
// The register windows that are mapped. The addresses they are known by are no memory: following
// one crashes at once, and only the accessors turn it back into a register.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/board.h"
#include "platform/host/collector.h"

struct device;

namespace host {

struct register_window {
    std::string node;  // by which the trace knows it
    std::uint64_t physical;
    std::uint64_t size;             // bytes
    const device *owner = nullptr;  // mapped until this device is unbound
};

class register_windows {
  public:
    register_windows(board &hardware, oops_log &oopses) : hardware_(hardware), oopses_(oopses) {}

    void *map(register_window window);
    // Null when a device has claimed any of it.
    void *map_claimed(register_window window);
    void unmap(const void *base);
    void release_owned_by(const device *owner);
    void clear();

    // Widths in bits. What is no proper access to a register is an oops; it reads as all ones and
    // stores nothing.
    std::uint64_t load(const void *address, unsigned width);
    void store(const void *address, unsigned width, std::uint64_t value);

    std::vector<std::string> holdings() const;

  private:
    using window_map = std::map<std::uint64_t, std::shared_ptr<const register_window>>;
    struct target {
        std::shared_ptr<const register_window> window;  // null: no proper access
        std::uint64_t offset;
    };
    void *place(register_window window);  // with guard_ held
    target find(const void *address, unsigned width, const char *access);
    board::place place_of(const target &found, unsigned width) const;

    board &hardware_;
    oops_log &oopses_;
    mutable std::mutex guard_;
    window_map windows_;  // by base address
    // Not canonical, on x86-64 as on arm64; never handed out twice, so a use after unmap is seen.
    std::uint64_t next_base_ = 0x00ab'0000'0000'0000;
};

}  // namespace host
