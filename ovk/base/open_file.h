// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <string>

namespace ovk {

// A descriptor that is closed with its owner.
class open_file {
  public:
    open_file(const std::string &path, int flags)
        : descriptor_(open(path.c_str(), flags | O_CLOEXEC, 0666)) {}
    ~open_file() {
        if (good()) {
            close(descriptor_);
        }
    }
    open_file(const open_file &) = delete;
    open_file &operator=(const open_file &) = delete;

    bool good() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

}  // namespace ovk
