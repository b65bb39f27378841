// SPDX-License-Identifier: GPL-2.0-only
// Mapped device registers.
#pragma once

#include "base/device_node.h"
#include "platform/kernel.h"

// A field of a register; `mask` is that before the shift.
struct register_field {
    u32 shift;
    u32 mask;

    constexpr u32 of(u32 value) const { return (value >> shift) & mask; }
    constexpr u32 put(u32 field) const { return (field & mask) << shift; }
    constexpr u32 bits() const { return mask << shift; }
};

// Registers of one block. Offsets are bytes from its start.
class register_view {
  public:
    register_view() = default;
    explicit register_view(void __iomem *mapped) : base_(mapped) {}

    u16 read16(u32 offset) const { return readw_relaxed(at(offset)); }
    u32 read32(u32 offset) const { return readl_relaxed(at(offset)); }
    u64 read64(u32 offset) const { return readq_relaxed(at(offset)); }
    void write32(u32 offset, u32 value) const { writel_relaxed(value, at(offset)); }
    void write64(u32 offset, u64 value) const { writeq_relaxed(value, at(offset)); }

    // Read-modify-writes: first the bits of `clear` go, then those of `set` come.
    void update32(u32 offset, u32 clear, u32 set) const {
        write32(offset, (read32(offset) & ~clear) | set);
    }
    // Keeps the lower half only: the upper one is not read and falls to `set`.
    void update_low16(u32 offset, u32 clear, u32 set) const {
        write32(offset, (read16(offset) & ~clear) | set);
    }
    // The doubleword at `offset`: the register behind it is written back as read.
    void update64(u32 offset, u64 clear, u64 set) const {
        write64(offset, (read64(offset) & ~clear) | set);
    }

  protected:
    void __iomem *base_ = nullptr;

  private:
    char __iomem *at(u32 offset) const { return static_cast<char __iomem *>(base_) + offset; }
};

// Registers that are unmapped at the end of the window's life. An empty window must not be
// accessed.
class register_window : public register_view {
  public:
    register_window() = default;
    explicit register_window(void __iomem *mapped) : register_view(mapped) {}
    register_window(register_window &&other) noexcept : register_view(other.base_) {
        other.base_ = nullptr;
    }
    register_window(const register_window &) = delete;
    register_window &operator=(register_window &&other) noexcept {
        if (this != &other) {
            unmap();
            base_ = other.base_;
            other.base_ = nullptr;
        }
        return *this;
    }
    ~register_window() { unmap(); }

    explicit operator bool() const { return base_ != nullptr; }

    void unmap() {
        if (base_) {
            iounmap(base_);
        }
        base_ = nullptr;
    }
};

// A kind of register block of which the chip has several, numbered in their node names.
struct register_block {
    const char *node_prefix;
    const char *missing;  // log message, level included, for a block that can't be had
};

// Maps the first register range of a node. Empty: it can't be mapped, which has been logged.
register_window map_node(device_node *node);

// Maps the first register range of block NUMBER of that kind, whose node the caller has looked up
// (an empty reference: not found). Empty: not to be had, which has been logged.
register_window map_block(const register_block &block, const node_ref &node);

// Looks the node up and maps it.
register_window map_block(const register_block &block, u32 number);
