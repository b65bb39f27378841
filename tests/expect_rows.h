// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <gtest/gtest.h>

#include "tests/pattern.h"
#include "tests/report_text.h"

namespace tests {

inline void PrintTo(const expected_row &row, std::ostream *out) {
    *out << row.name << " " << row.data << " " << row.effi << " " << row.bus << " " << row.ultra
         << " " << row.preultra;
}

// A port report has these titles and rows, or as many as its page has room for. Behind the number
// of a port may come so many settings, which are not looked at.
inline void expect_rows(const std::string &report, lines expected, int settings = 0) {
    constexpr std::size_t page_text = 4095;
    lines rows = port_rows(report);

    for (std::string &row : rows) {
        row = replaced(row, "^(\\d+)( \\w+){" + std::to_string(settings) + "}(( \\d+){5,7})$",
                       "$1$3");
    }

    if (report.size() >= page_text) {
        rows.pop_back();
        ASSERT_GT(expected.size(), rows.size());
        expected.resize(rows.size());
    }
    EXPECT_EQ(rows, expected);
}

}  // namespace tests
