// SPDX-License-Identifier: GPL-2.0-only
// The mutexes of the module. They are taken in one order: a mutex of a higher rank inside one of a
// lower rank, never the other way round.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <thread>

#include "platform/host/collector.h"

struct mutex {
  public:
    mutex(const char *name, unsigned rank) : name_(name), rank_(rank) {}

    // 0 with the lock held, or -EINTR when a fatal signal, one that is pending already included,
    // ended the wait.
    int lock_killable(host::oops_log &oopses, bool killed);
    void unlock(host::oops_log &oopses);

    // A fatal signal for all who wait now.
    void kill_waiters();

    // True if the calling thread (or, for release_from_anyone, whoever it was) held the lock.
    bool release_from_this_thread();
    bool release_from_anyone();

    std::string text() const { return std::string("the ") + name_ + " lock"; }

  private:
    bool held_by_this_thread() const { return held_ && owner_ == std::this_thread::get_id(); }
    void release();

    const char *name_;
    unsigned rank_;
    std::mutex guard_;
    std::condition_variable changed_;
    bool held_ = false;
    std::thread::id owner_;
    std::uint64_t kills_ = 0;
};

namespace host {

// All of them, by rank.
std::span<mutex *const> kernel_mutexes();

// Objects to those that the calling thread still holds, and releases them.
void check_mutexes(oops_log &oopses, const std::string &returned);

}  // namespace host
