// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/host/collector.h"
#include "platform/host/records.h"

namespace host {

class kernel_log {
  public:
    // The characters that one record holds at most, level prefix included.
    static constexpr std::size_t longest_record = 991;

    // One printk: takes the level from the text's prefix; returns the length that is logged.
    int print(std::string_view text);
    std::vector<log_line> take() { return lines_.take(); }

  private:
    collector<log_line> lines_;
};

}  // namespace host
