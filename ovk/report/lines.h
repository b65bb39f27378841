// SPDX-License-Identifier: GPL-2.0-only
// The lines of a report.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ovk {

struct report_line {
    std::string raw;    // without its end
    std::string plain;  // without the terminal's control sequences either
};

struct report_lines {
    std::vector<report_line> whole;
    std::string torn;  // behind the last line end: a line that goes on elsewhere
};

report_lines split_lines(std::string_view text);

std::string without_controls(std::string_view text);

// A report ends there, whatever it would have had to say.
constexpr std::size_t report_room = 4095;

}  // namespace ovk
