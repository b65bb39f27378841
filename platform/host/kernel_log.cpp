// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/kernel_log.h"

#include <optional>
#include <string_view>

namespace host {

static constexpr char start_of_header = '\001';
static constexpr int default_level = 4;

static bool has_prefix(std::string_view text) {
    return text.size() >= 2 && text[0] == start_of_header &&
           ((text[1] >= '0' && text[1] <= '7') || text[1] == 'c');
}

int kernel_log::print(std::string_view left) {
    const bool ended = left.ends_with('\n');
    if (ended) {
        left.remove_suffix(1);
    }
    std::optional<int> level;
    for (; has_prefix(left); left.remove_prefix(2)) {
        if (!level && left[1] != 'c') {
            level = left[1] - '0';
        }
    }
    lines_.add({level.value_or(default_level), std::string(left), ended});
    return static_cast<int>(left.size());
}

}  // namespace host
