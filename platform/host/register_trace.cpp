// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/register_trace.h"

#include "platform/host/text_tools.h"

namespace host {

static constexpr int shortest_offset = 3;  // digits
static constexpr unsigned bits_per_digit = 4;

std::string trace_entry::text() const {
    if (what == kind::barrier) {
        return "wmb";
    }
    if (what == kind::sleep) {
        return "sleep " + std::to_string(min_us) + " " + std::to_string(max_us);
    }
    const char *direction = what == kind::read ? "R" : "W";
    return direction + std::to_string(width) + " " + node + "+" +
           hexadecimal(offset, shortest_offset) + " " + hexadecimal(value, width / bits_per_digit);
}

void register_trace::access(trace_entry::kind direction, unsigned width, const std::string &node,
                            std::uint64_t offset, std::uint64_t value) {
    if (enabled_) {
        entries_.add({direction, width, node, offset, value, 0, 0});
    }
}

void register_trace::barrier() {
    if (enabled_) {
        entries_.add({trace_entry::kind::barrier, 0, {}, 0, 0, 0, 0});
    }
}

void register_trace::sleep(std::uint64_t min_us, std::uint64_t max_us) {
    if (enabled_) {
        entries_.add({trace_entry::kind::sleep, 0, {}, 0, 0, min_us, max_us});
    }
}

}  // namespace host
