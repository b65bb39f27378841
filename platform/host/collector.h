// SPDX-License-Identifier: GPL-2.0-only
// Entries that several threads add and one reader takes away.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace host {

template <typename entry>
class collector {
  public:
    void add(entry item) {
        std::scoped_lock lock(guard_);
        items_.push_back(std::move(item));
    }

    std::vector<entry> take() {
        std::scoped_lock lock(guard_);
        return std::exchange(items_, {});
    }

  private:
    std::mutex guard_;
    std::vector<entry> items_;
};

using oops_log = collector<std::string>;

}  // namespace host
