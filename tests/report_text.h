// SPDX-License-Identifier: GPL-2.0-only
// The figures in the text of the reports.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/oracle.h"
#include "tests/rig.h"

namespace tests {

// Rows of the full table of the total report.
std::vector<expected_row> table_rows(const std::string &report);

// Enables every module for the total report.
void enable_all(rig &r, std::uint32_t time_ms);

lines words_of(const std::string &line);
lines lines_of(std::istream &&text);

// Titles and rows of a report, with single blanks between the words, without legends, column titles
// and bars. The larb report ends with the row of its totals.
lines port_rows(const std::string &report);

// The first of these that starts so; "" without one.
std::string row_with(const std::string &report, const std::string &start);

// A port report has these titles and rows, or as many as its page has room for. Behind the number
// of a port may come so many settings, which are not looked at.
void expect_rows(const std::string &report, lines expected, int settings = 0);

void PrintTo(const expected_row &row, std::ostream *out);

}  // namespace tests
