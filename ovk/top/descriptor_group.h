// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <string>

#include "ovk/base/failure.h"

namespace ovk::top {

// Readable when any of its descriptors is.
class descriptor_group {
  public:
    descriptor_group(std::initializer_list<int> members) : group_(epoll_create1(EPOLL_CLOEXEC)) {
        for (const int each : members) {
            epoll_event wanted = {};
            wanted.events = EPOLLIN;
            if (epoll_ctl(group_, EPOLL_CTL_ADD, each, &wanted) != 0) {
                throw failure(exit_status::unreachable,
                              std::string("can't wait for keys: ") + std::strerror(errno));
            }
        }
    }
    ~descriptor_group() { close(group_); }
    descriptor_group(const descriptor_group &) = delete;
    descriptor_group &operator=(const descriptor_group &) = delete;

    int descriptor() const { return group_; }

  private:
    int group_;
};

}  // namespace ovk::top
