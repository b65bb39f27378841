// SPDX-License-Identifier: GPL-2.0-only
// The module's accesses, barriers and sleeps in the order in which they happened.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/host/collector.h"
#include "platform/host/records.h"

namespace host {

class register_trace {
  public:
    void enable(bool on) { enabled_ = on; }
    std::vector<trace_entry> take() { return entries_.take(); }

    void access(trace_entry::kind direction, unsigned width, const std::string &node,
                std::uint64_t offset, std::uint64_t value);
    void barrier();
    void sleep(std::uint64_t min_us, std::uint64_t max_us);

  private:
    std::atomic<bool> enabled_ = false;
    collector<trace_entry> entries_;
};

}  // namespace host
