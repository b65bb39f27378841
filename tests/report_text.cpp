// SPDX-License-Identifier: GPL-2.0-only
#include "tests/report_text.h"

#include <sstream>

#include "tests/pattern.h"

namespace tests {

void enable_all(rig &r, std::uint32_t time_ms) {
    const std::size_t count = sources_by_module(r.machine().tree()).size();

    for (std::size_t id = 0; id < count; id++) {
        r.write("bw_total", std::to_string(id) + " 1 " + std::to_string(time_ms) + " 0\n");
    }
    r.machine().take_log();
}

lines words_of(const std::string &line) {
    std::istringstream text(line);
    lines words;

    for (std::string word; text >> word;) {
        words.push_back(word);
    }
    return words;
}

lines lines_of(std::istream &&text) {
    lines all;

    for (std::string line; std::getline(text, line);) {
        all.push_back(line);
    }
    return all;
}

lines port_rows(const std::string &report) {
    static const std::string row =
        " ?((?:\\d|(?:In|Out|ALL|Module|SMI_LARB|SMI_COMMON|CENTRAL_EMI) ).*?|.* not support .*?) "
        "?";
    lines rows;

    for (const std::string &line :
         lines_of(std::istringstream(replaced(plain(report), "[ |]+", " ")))) {
        const lines found = groups_of(line, row);
        rows.insert(rows.end(), found.begin(), found.end());
    }
    return rows;
}

std::vector<expected_row> table_rows(const std::string &report) {
    std::vector<expected_row> rows;

    for (const std::string &row : port_rows(report)) {
        const lines words = words_of(row);
        if (words.size() == 8) {
            rows.push_back({words[1], std::stoull(words[3]), std::stoull(words[4]),
                            std::stoull(words[5]), std::stoull(words[6]), std::stoull(words[7])});
        }
    }
    return rows;
}

std::string row_with(const std::string &report, const std::string &start) {
    for (const std::string &row : port_rows(report)) {
        if (row.starts_with(start)) {
            return row;
        }
    }
    return "";
}

void expect_rows(const std::string &report, lines expected, int settings) {
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

void PrintTo(const expected_row &row, std::ostream *out) {
    *out << row.name << " " << row.data << " " << row.effi << " " << row.bus << " " << row.ultra
         << " " << row.preultra;
}

}  // namespace tests
