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

// Holds the measurement lock for its lifetime, unless a fatal signal ended the wait for it.
class measurement_lock {
  public:
    measurement_lock() : error_(mutex_lock_killable(&ovk_measurement_mutex)) {}
    measurement_lock(const measurement_lock &) = delete;
    measurement_lock &operator=(const measurement_lock &) = delete;
    ~measurement_lock() {
        if (error_ == 0) {
            mutex_unlock(&ovk_measurement_mutex);
        }
    }

    // 0 while held, else -EINTR.
    int error() const { return error_; }

  private:
    int error_;
};
