// SPDX-License-Identifier: GPL-2.0-only
// The kernel allocator, with a record of every block that is out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/collector.h"
#include "platform/host/fault_plan.h"
#include "platform/host/records.h"

struct device;

namespace host {

class heap {
  public:
    heap(fault_plan &faults, oops_log &oopses) : faults_(faults), oopses_(oopses) {}
    ~heap() { clear(); }

    // A block that is zeroed or filled with a poison byte; null when memory ran out or the size is
    // beyond what kmalloc serves. With an owner it lives until that device is unbound.
    void *allocate(std::size_t size, bool zeroed, const device *owner = nullptr);
    void *allocate_array(std::size_t count, std::size_t size, bool zeroed);
    void release(const void *memory);
    void release_owned_by(const device *owner);
    void clear();

    allocation_count allocations() const;
    std::vector<std::string> holdings() const;

  private:
    struct block {
        std::size_t size;
        const device *owner;
        std::uint64_t number;  // in the order of allocation
    };
    bool taken_from_records(const void *memory);

    fault_plan &faults_;
    oops_log &oopses_;
    mutable std::mutex guard_;
    std::map<const void *, block> blocks_;
    allocation_count served_ = {0, 0};
};

}  // namespace host
