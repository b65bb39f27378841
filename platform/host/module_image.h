// SPDX-License-Identifier: GPL-2.0-only
// The module's shared object. Every load maps it anew, so its globals start as they were linked.
#pragma once

#include <string>

#include "platform/host/collector.h"

namespace host {

class module_image {
  public:
    module_image(const std::string &path, oops_log &oopses);
    ~module_image() { close(); }
    module_image(const module_image &) = delete;
    module_image &operator=(const module_image &) = delete;

    // 0, or -ENOENT for a missing file, or -ENOEXEC with the reason among the oopses.
    int open();
    void close();

    // On an open image.
    int call_init() { return init_(); }
    void call_cleanup() { cleanup_(); }

  private:
    bool resident() const;
    int reject(const std::string &reason);

    const std::string path_;
    oops_log &oopses_;
    void *handle_ = nullptr;
    int (*init_)() = nullptr;
    void (*cleanup_)() = nullptr;
};

}  // namespace host
