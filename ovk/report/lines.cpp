// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/lines.h"

#include <algorithm>

namespace ovk {

namespace {

constexpr std::string_view control_start = "\x1b[";

bool is_final(char byte) {
    return byte >= '@' && byte <= '~';
}

// Where the control sequence ends that begins there.
std::size_t end_of_control(std::string_view text, std::size_t start) {
    const auto *const final_byte =
        std::find_if(text.begin() + start + control_start.size(), text.end(), is_final);
    return std::min<std::size_t>(final_byte - text.begin() + 1, text.size());
}

}  // namespace

std::string without_controls(std::string_view text) {
    std::string plain;
    std::size_t done = 0;

    for (std::size_t start; (start = text.find(control_start, done)) != text.npos;) {
        plain += text.substr(done, start - done);
        done = end_of_control(text, start);
    }
    plain += text.substr(done);
    return plain;
}

report_lines split_lines(std::string_view text) {
    report_lines lines;

    for (std::size_t end; (end = text.find('\n')) != text.npos; text.remove_prefix(end + 1)) {
        const std::string_view raw = text.substr(0, end);
        lines.whole.push_back({std::string(raw), without_controls(raw)});
    }
    lines.torn = text;
    return lines;
}

}  // namespace ovk
