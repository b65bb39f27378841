// SPDX-License-Identifier: GPL-2.0-only
// What the parsers share. A parser is a list of handlers, one for each kind of line, and a state:
// `report`, what was found; `ended()`, whether the report came to its end; `sure_of_end`, whether
// no other line could follow there.
#pragma once

#include <algorithm>

#include "ovk/report/fields.h"
#include "ovk/report/lines.h"
#include "ovk/report/reading.h"

namespace ovk {

// False: another kind of line; the state is as it was.
template <class state>
using line_handler = bool (*)(const report_line &, state &);

void open_head(report_head &head, const reading &from);
void close_head(report_head &head, const std::string &text, bool ended, bool sure_of_end);

template <class state, std::size_t n>
void hand_out_lines(const std::string &text, const line_handler<state> (&handlers)[n],
                    state &found) {
    for (const report_line &line : split_lines(text).whole) {
        if (std::none_of(handlers, handlers + n,
                         [&](const auto handle) { return handle(line, found); })) {
            found.report.head.unparsed.push_back(line.raw);
        }
    }
}

template <class state, std::size_t n>
auto parse_with(const line_handler<state> (&handlers)[n], const reading &from) {
    state found;

    open_head(found.report.head, from);
    hand_out_lines(from.came.text, handlers, found);
    close_head(found.report.head, from.came.text, found.ended(), state::sure_of_end);
    return std::move(found.report);
}

inline bool is_blank(std::string_view text) {
    return text.find_first_not_of(' ') == text.npos;
}

inline bool starts_report(std::string_view text) {
    return text == "Starting Monitor......";
}

// "SMI_LARB 4" and its like.
inline bool takes_number_behind(std::string_view text, std::string_view start, figure &into) {
    scanner line(text);
    return line.skip(start) && line.number(into) && line.at_end();
}

// Data that cost nothing on the bus: their efficiency is not known, and so is not what they cost.
inline void forget_free_data(const figure &data_mbps, figure &bus_mbps) {
    if (data_mbps.value_or(0) != 0 && bus_mbps == 0U) {
        bus_mbps.reset();
    }
}

}  // namespace ovk
