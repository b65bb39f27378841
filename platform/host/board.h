// SPDX-License-Identifier: GPL-2.0-only
// The hardware bus with its clock. Everything that reaches the bus goes through here, one call at a
// time and with the bus told the time first.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "platform/host/bus.h"
#include "platform/host/collector.h"
#include "platform/host/register_trace.h"

namespace host {

class board {
  public:
    board(bus &hardware, bool realtime, oops_log &oopses, register_trace &trace)
        : hardware_(hardware), realtime_(realtime), oopses_(oopses), trace_(trace) {}

    // One register: its place in the window of a node, and on the bus. Width in bits.
    struct place {
        const std::string &node;
        std::uint64_t offset;
        std::uint64_t physical;
        unsigned width;
    };
    std::uint64_t load(const place &where);
    void store(const place &where, std::uint64_t value);
    // Sets the masked bits to those of `bits`. Another module's doing: it is not traced.
    void update(const place &where, std::uint64_t mask, std::uint64_t bits);

    // Microseconds since power-on, and how many of them the module spent waiting.
    std::uint64_t now_us() const;
    std::uint64_t waited_us() const;

    void elapse(std::uint64_t us);                           // nobody waits
    void sleep(std::uint64_t min_us, std::uint64_t max_us);  // usleep_range
    void yield();                                            // cond_resched
    void power_lost();

  private:
    void advance(std::uint64_t us);           // with guard_ held
    std::uint64_t step_of_busy_wait() const;  // with guard_ held
    void collect_complaints();                // with guard_ held
    void take_wall_clock_time(std::uint64_t us) const;

    mutable std::mutex guard_;
    bus &hardware_;
    const bool realtime_;
    oops_log &oopses_;
    register_trace &trace_;
    std::uint64_t now_us_ = 0;
    std::uint64_t waited_us_ = 0;
};

}  // namespace host
