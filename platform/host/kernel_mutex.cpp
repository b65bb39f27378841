// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/kernel_mutex.h"

#include <array>
#include <cerrno>

#include "platform/host/services.h"

struct mutex ovk_measurement_mutex("measurement", 0);
struct mutex ovk_emi_mutex("EMI", 1);

namespace host {

std::span<mutex *const> kernel_mutexes() {
    static constexpr std::array all = {&ovk_measurement_mutex, &ovk_emi_mutex};

    return all;
}

void check_mutexes(oops_log &oopses, const std::string &returned) {
    for (mutex *const each : kernel_mutexes()) {
        if (each->release_from_this_thread()) {
            oopses.add(returned + " returned with " + each->text() + " held");
        }
    }
}

}  // namespace host

// A bit for each rank that this thread holds.
static thread_local unsigned ranks_held;

int mutex::lock_killable(host::oops_log &oopses, bool killed) {
    std::unique_lock lock(guard_);
    if (held_by_this_thread()) {
        oopses.add("mutex_lock_killable by the thread that holds the lock: a deadlock");
        return -EINTR;
    }
    if ((ranks_held >> rank_) != 0) {
        oopses.add(text() + " is taken inside one that goes inside it");
    }
    const std::uint64_t kills_before = kills_;
    changed_.wait(lock, [&] { return !held_ || killed || kills_ != kills_before; });
    if (held_) {
        return -EINTR;
    }
    held_ = true;
    owner_ = std::this_thread::get_id();
    ranks_held |= 1u << rank_;
    return 0;
}

void mutex::release() {
    if (held_by_this_thread()) {
        ranks_held &= ~(1u << rank_);
    }
    held_ = false;
    owner_ = {};
    changed_.notify_one();
}

void mutex::unlock(host::oops_log &oopses) {
    std::scoped_lock lock(guard_);
    if (!held_by_this_thread()) {
        oopses.add("mutex_unlock by a thread that does not hold the lock");
        return;
    }
    release();
}

void mutex::kill_waiters() {
    std::scoped_lock lock(guard_);
    ++kills_;
    changed_.notify_all();
}

bool mutex::release_from_this_thread() {
    std::scoped_lock lock(guard_);
    const bool held = held_by_this_thread();
    if (held) {
        release();
    }
    return held;
}

bool mutex::release_from_anyone() {
    std::scoped_lock lock(guard_);
    const bool held = held_;
    release();
    return held;
}
