// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/parsing.h"

namespace ovk {

void open_head(report_head &head, const reading &from) {
    head.start_ns = from.came.start_ns;
    head.end_ns = from.came.end_ns;
    head.log_seen = from.log.has_value();
}

void close_head(report_head &head, const std::string &text, bool ended, bool sure_of_end) {
    const bool full = text.size() >= report_room;

    if (text.empty()) {
        head.incomplete("empty");
    } else if (full && !(ended && sure_of_end)) {
        head.incomplete("cut at " + std::to_string(report_room) + " bytes");
    } else if (!ended) {
        head.incomplete("ends early");
    }
    if (!head.unparsed.empty()) {
        head.incomplete("unparsed lines: " + std::to_string(head.unparsed.size()));
    }
}

}  // namespace ovk
