// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/board.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

namespace host {

// How far the clock moves when a module yields in a busy wait and nothing happens sooner.
static constexpr std::uint64_t busy_wait_step_us = 1000;

std::uint64_t board::load(const place &where) {
    std::scoped_lock lock(guard_);
    hardware_.advance(now_us_);
    const std::uint64_t value = hardware_.load(where.physical, where.width);
    trace_.access(trace_entry::kind::read, where.width, where.node, where.offset, value);
    collect_complaints();
    return value;
}

void board::store(const place &where, std::uint64_t value) {
    std::scoped_lock lock(guard_);
    hardware_.advance(now_us_);
    trace_.access(trace_entry::kind::write, where.width, where.node, where.offset, value);
    hardware_.store(where.physical, where.width, value);
    collect_complaints();
}

void board::update(const place &where, std::uint64_t mask, std::uint64_t bits) {
    std::scoped_lock lock(guard_);
    hardware_.advance(now_us_);
    const std::uint64_t before = hardware_.load(where.physical, where.width);
    hardware_.store(where.physical, where.width, (before & ~mask) | bits);
    collect_complaints();
}

void board::collect_complaints() {
    for (std::string &complaint : hardware_.take_complaints()) {
        oopses_.add(std::move(complaint));
    }
}

std::uint64_t board::now_us() const {
    std::scoped_lock lock(guard_);
    return now_us_;
}

std::uint64_t board::waited_us() const {
    std::scoped_lock lock(guard_);
    return waited_us_;
}

void board::advance(std::uint64_t us) {
    now_us_ += us;
    hardware_.advance(now_us_);
}

void board::elapse(std::uint64_t us) {
    std::scoped_lock lock(guard_);
    advance(us);
}

void board::sleep(std::uint64_t min_us, std::uint64_t max_us) {
    {
        std::scoped_lock lock(guard_);
        trace_.sleep(min_us, max_us);
        waited_us_ += min_us;
        advance(min_us);
    }
    take_wall_clock_time(min_us);
}

std::uint64_t board::step_of_busy_wait() const {
    const std::optional<std::uint64_t> event = hardware_.next_event();
    if (!event || *event <= now_us_) {
        return busy_wait_step_us;
    }
    return std::min(*event - now_us_, busy_wait_step_us);
}

void board::yield() {
    std::uint64_t step = 0;
    {
        std::scoped_lock lock(guard_);
        hardware_.advance(now_us_);
        step = step_of_busy_wait();
        waited_us_ += step;
        advance(step);
    }
    take_wall_clock_time(step);
}

void board::take_wall_clock_time(std::uint64_t us) const {
    if (realtime_) {
        std::this_thread::sleep_for(std::chrono::microseconds(us));
    }
}

void board::power_lost() {
    std::scoped_lock lock(guard_);
    hardware_.advance(now_us_);
    hardware_.power_lost();
}

}  // namespace host
