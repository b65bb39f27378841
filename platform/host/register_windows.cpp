// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/register_windows.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "platform/host/text_tools.h"

namespace host {

static constexpr std::uint64_t page = 4096;
// Unmapped room behind each window, so that an access a little beyond it meets nothing else.
static constexpr std::uint64_t gap = std::uint64_t{1} << 24;
static constexpr unsigned bits_per_byte = 8;

static std::uint64_t all_ones(unsigned width) {
    return ~std::uint64_t{0} >> (64 - width);
}

static bool overlap(const register_window &a, const register_window &b) {
    return a.physical < b.physical + b.size && b.physical < a.physical + a.size;
}

void *register_windows::place(register_window window) {
    // As ioremap does: an address keeps its place in the page, and with it its alignment.
    const std::uint64_t base = next_base_ + window.physical % page;
    next_base_ += (window.size + 2 * page + gap) / page * page;
    windows_[base] = std::make_shared<const register_window>(std::move(window));
    return std::bit_cast<void *>(base);
}

void *register_windows::map(register_window window) {
    std::scoped_lock lock(guard_);
    return place(std::move(window));
}

void *register_windows::map_claimed(register_window window) {
    std::scoped_lock lock(guard_);
    const bool taken = std::ranges::any_of(windows_, [&window](const auto &entry) {
        return entry.second->owner && overlap(*entry.second, window);
    });
    return taken ? nullptr : place(std::move(window));
}

void register_windows::unmap(const void *base) {
    std::scoped_lock lock(guard_);
    const auto found = windows_.find(reinterpret_cast<std::uint64_t>(base));
    if (found == windows_.end()) {
        oopses_.add("iounmap of " + hexadecimal(reinterpret_cast<std::uint64_t>(base)) +
                    ", which is not mapped");
        return;
    }
    if (found->second->owner) {
        oopses_.add("iounmap of the window that a device keeps on " + found->second->node);
        return;
    }
    windows_.erase(found);
}

void register_windows::release_owned_by(const device *owner) {
    std::scoped_lock lock(guard_);
    std::erase_if(windows_, [owner](const auto &entry) { return entry.second->owner == owner; });
}

void register_windows::clear() {
    std::scoped_lock lock(guard_);
    windows_.clear();
}

// What is wrong with an access at this address, which is that far into the window; null: nothing.
static const char *fault_of(const register_window *window, std::uint64_t offset,
                            std::uint64_t address, std::uint64_t bytes) {
    if (!window) {
        return "not mapped";
    }
    if (offset + bytes > window->size) {
        return "outside the window";
    }
    return address % bytes == 0 ? nullptr : "unaligned";
}

register_windows::target register_windows::find(const void *address, unsigned width,
                                                const char *access) {
    const auto where = reinterpret_cast<std::uint64_t>(address);
    std::scoped_lock lock(guard_);
    const auto next = windows_.upper_bound(where);
    const auto nearest = next == windows_.begin() ? windows_.end() : std::prev(next);
    const bool near =
        nearest != windows_.end() && where - nearest->first < nearest->second->size + gap;
    const std::shared_ptr<const register_window> window = near ? nearest->second : nullptr;
    const std::uint64_t offset = near ? where - nearest->first : 0;
    const char *fault = fault_of(window.get(), offset, where, width / bits_per_byte);
    if (!fault) {
        return {window, offset};
    }
    const std::string place =
        near ? window->node + "+" + hexadecimal(offset, 3) : hexadecimal(where);
    oopses_.add(access + std::to_string(width) + " of " + place + ": " + fault);
    return {};
}

board::place register_windows::place_of(const target &found, unsigned width) const {
    return {found.window->node, found.offset, found.window->physical + found.offset, width};
}

std::uint64_t register_windows::load(const void *address, unsigned width) {
    const target found = find(address, width, "read");
    if (!found.window) {
        return all_ones(width);
    }
    return hardware_.load(place_of(found, width)) & all_ones(width);
}

void register_windows::store(const void *address, unsigned width, std::uint64_t value) {
    const target found = find(address, width, "write");
    if (found.window) {
        hardware_.store(place_of(found, width), value & all_ones(width));
    }
}

std::vector<std::string> register_windows::holdings() const {
    std::scoped_lock lock(guard_);
    std::vector<std::string> lines;
    for (const auto &[base, window] : windows_) {
        const char *keeper = window->owner ? "window of a device: " : "window: ";
        lines.push_back(keeper + window->node + ", " + hexadecimal(window->size) + " bytes at " +
                        hexadecimal(window->physical));
    }
    return lines;
}

}  // namespace host
