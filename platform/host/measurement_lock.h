// SPDX-License-Identifier: GPL-2.0-only
// The mutex that the module takes around its measurements.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "platform/host/collector.h"

struct mutex {
  public:
    // 0 with the lock held, or -EINTR when a fatal signal ended the wait.
    int lock_killable(host::oops_log &oopses);
    void unlock(host::oops_log &oopses);

    // A fatal signal for all who wait now.
    void kill_waiters();

    // True if the calling thread (or, for release_from_anyone, whoever it was) held the lock.
    bool release_from_this_thread();
    bool release_from_anyone();

  private:
    bool held_by_this_thread() const { return held_ && owner_ == std::this_thread::get_id(); }
    void release();

    std::mutex guard_;
    std::condition_variable changed_;
    bool held_ = false;
    std::thread::id owner_;
    std::uint64_t kills_ = 0;
};
