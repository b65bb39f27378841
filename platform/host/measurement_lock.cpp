// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/measurement_lock.h"

#include <cerrno>

int mutex::lock_killable(host::oops_log &oopses) {
    std::unique_lock lock(guard_);
    if (held_by_this_thread()) {
        oopses.add("mutex_lock_killable by the thread that holds the lock: a deadlock");
        return -EINTR;
    }
    const std::uint64_t kills_before = kills_;
    changed_.wait(lock, [&] { return !held_ || kills_ != kills_before; });
    if (held_) {
        return -EINTR;
    }
    held_ = true;
    owner_ = std::this_thread::get_id();
    return 0;
}

void mutex::release() {
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
