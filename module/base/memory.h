// SPDX-License-Identifier: GPL-2.0-only
// Kernel memory: lists that live as long as the module, and owners for the records of one read.
#pragma once

#include <new>

#include "platform/kernel.h"

// A zero-filled array of plain records; kfree releases it. Null: no memory. An array of no elements
// is not null.
template <class T>
T *allocate_zeroed(size_t count) {
    static_assert(__is_trivial(T), "only plain records start as zeros");
    return static_cast<T *>(kmalloc_array(count, sizeof(T), GFP_KERNEL | __GFP_ZERO));
}

// An array of value-initialised elements of its own.
template <class T>
class owned_array {
  public:
    owned_array() = default;
    owned_array(const owned_array &) = delete;
    owned_array &operator=(const owned_array &) = delete;
    ~owned_array() { release(); }

    // Gives the array `count` elements in place of what it held. False: no memory, and it is empty.
    bool allocate(size_t count) {
        release();
        data_ = static_cast<T *>(kmalloc_array(count, sizeof(T), GFP_KERNEL | __GFP_ZERO));
        if (!data_) {
            return false;
        }
        size_ = count;
        if constexpr (!__is_trivial(T)) {
            for (size_t i = 0; i < count; i++) {
                new (&data_[i]) T{};
            }
        }
        return true;
    }

    T &operator[](size_t index) { return data_[index]; }
    const T &operator[](size_t index) const { return data_[index]; }

  private:
    void release() {
        while (size_ > 0) {
            data_[--size_].~T();
        }
        kfree(data_);
        data_ = nullptr;
    }

    T *data_ = nullptr;
    size_t size_ = 0;
};

// One record of its own.
template <class T>
class owned {
  public:
    owned() = default;
    owned(const owned &) = delete;
    owned &operator=(const owned &) = delete;
    ~owned() {
        if (record_) {
            record_->~T();
        }
        kfree(record_);
    }

    // Gives an empty owner a value-initialised record. False: no memory.
    bool allocate() {
        void *memory = kmalloc(sizeof(T), GFP_KERNEL);
        record_ = memory ? new (memory) T{} : nullptr;
        return record_ != nullptr;
    }

    T &operator*() const { return *record_; }
    T *operator->() const { return record_; }

  private:
    T *record_ = nullptr;
};
