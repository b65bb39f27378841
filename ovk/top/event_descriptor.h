// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "ovk/base/failure.h"

namespace ovk::top {

// One thread tells another: readable from set() to clear().
class event_descriptor {
  public:
    event_descriptor() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (descriptor_ < 0) {
            throw failure(exit_status::unreachable,
                          std::string("no descriptor for events: ") + std::strerror(errno));
        }
    }
    ~event_descriptor() { close(descriptor_); }
    event_descriptor(const event_descriptor &) = delete;
    event_descriptor &operator=(const event_descriptor &) = delete;

    int descriptor() const { return descriptor_; }
    void set() { static_cast<void>(eventfd_write(descriptor_, 1)); }
    void clear() {
        std::uint64_t count = 0;
        static_cast<void>(eventfd_read(descriptor_, &count));
    }

  private:
    int descriptor_;
};

}  // namespace ovk::top
