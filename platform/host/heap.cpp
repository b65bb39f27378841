// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/heap.h"

#include <bit>
#include <cstdlib>
#include <cstring>

namespace host {

// kmalloc's answer to a request of zero bytes: not null, and not to be followed.
static constexpr std::uintptr_t zero_size_address = 16;
static constexpr std::size_t largest_request = std::size_t{4} << 20;
static constexpr int poison = 0x5a;

static void *zero_size_block() {
    return std::bit_cast<void *>(zero_size_address);
}

void *heap::allocate(std::size_t size, bool zeroed, const device *owner) {
    if (size == 0) {
        return zero_size_block();
    }
    if (faults_.strikes(fault_kind::allocation, {}) || size > largest_request) {
        return nullptr;
    }
    // A plain block of just this size: a memory checker sees an access beyond it.
    void *memory = std::malloc(size);
    if (!memory) {
        return nullptr;
    }
    std::memset(memory, zeroed ? 0 : poison, size);
    std::scoped_lock lock(guard_);
    ++served_.calls;
    served_.bytes += size;
    blocks_[memory] = {size, owner, served_.calls};
    return memory;
}

void *heap::allocate_array(std::size_t count, std::size_t size, bool zeroed) {
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes)) {
        bytes = SIZE_MAX;
    }
    return allocate(bytes, zeroed);
}

bool heap::taken_from_records(const void *memory) {
    std::scoped_lock lock(guard_);
    const auto found = blocks_.find(memory);
    if (found == blocks_.end() || found->second.owner) {
        return false;
    }
    blocks_.erase(found);
    return true;
}

void heap::release(const void *memory) {
    if (!memory || reinterpret_cast<std::uintptr_t>(memory) == zero_size_address) {
        return;
    }
    if (!taken_from_records(memory)) {
        oopses_.add("kfree of memory that kmalloc did not hand out or that is free already");
        return;
    }
    std::free(const_cast<void *>(memory));
}

void heap::release_owned_by(const device *owner) {
    std::scoped_lock lock(guard_);
    std::erase_if(blocks_, [owner](const auto &entry) {
        if (entry.second.owner != owner) {
            return false;
        }
        std::free(const_cast<void *>(entry.first));
        return true;
    });
}

void heap::clear() {
    std::scoped_lock lock(guard_);
    for (const auto &entry : blocks_) {
        std::free(const_cast<void *>(entry.first));
    }
    blocks_.clear();
}

allocation_count heap::allocations() const {
    std::scoped_lock lock(guard_);
    return served_;
}

std::vector<std::string> heap::holdings() const {
    std::map<std::uint64_t, std::string> lines;
    std::scoped_lock lock(guard_);
    for (const auto &[memory, held] : blocks_) {
        const char *keeper = held.owner ? "memory of a device: " : "memory: ";
        lines[held.number] = keeper + std::to_string(held.size) + " bytes (allocation " +
                             std::to_string(held.number) + ")";
    }
    std::vector<std::string> result;
    result.reserve(lines.size());
    for (auto &entry : lines) {
        result.push_back(std::move(entry.second));
    }
    return result;
}

}  // namespace host
