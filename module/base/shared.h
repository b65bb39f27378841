// SPDX-License-Identifier: GPL-2.0-only
// Settings and flags that one process writes while another reads are single machine words, loaded
// and stored whole. Measurements that drive the same monitors exclude each other.
#pragma once

#include "platform/kernel.h"

template <class T>
T READ_ONCE(const T &word) {
    return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

template <class T>
void WRITE_ONCE(T &word, T value) {
    __atomic_store_n(&word, value, __ATOMIC_RELAXED);
}

// True once the process that runs this handler has to end. Measurements look before each window
// that they wait for, and leave at once. It stays true until the handler has returned.
inline bool is_killed() {
    return fatal_signal_pending_of_current();
}

// Holds a lock for its lifetime, unless a fatal signal ended the wait for it. What it guards is
// driven only while error() says 0.
class killable_lock {
  public:
    explicit killable_lock(mutex &lock) : lock_(lock), error_(mutex_lock_killable(&lock)) {}
    killable_lock(const killable_lock &) = delete;
    killable_lock &operator=(const killable_lock &) = delete;
    ~killable_lock() {
        if (error_ == 0) {
            mutex_unlock(&lock_);
        }
    }

    // 0, or -EINTR once the process has to end: while it waited, or since.
    int error() const { return error_ == 0 && is_killed() ? -EINTR : error_; }

  private:
    mutex &lock_;
    int error_;
};

// The two locks, outer one first. A report holds the first while it measures; whoever drives the
// EMI channels or broadcast mode holds the second, for just that long. The second is taken inside
// the first or alone, and nothing is taken inside it.
struct measurement_lock : killable_lock {
    measurement_lock() : killable_lock(ovk_measurement_mutex) {}
};
struct emi_lock : killable_lock {
    emi_lock() : killable_lock(ovk_emi_mutex) {}
};
