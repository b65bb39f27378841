// SPDX-License-Identifier: GPL-2.0-only
#include "lab/tests/judge.h"

#include <cctype>
#include <sstream>

#include "tests/pattern.h"
#include "tests/report_text.h"

namespace lab {

namespace {

using tests::expected_report;
using tests::expected_row;
using tests::lines;

constexpr std::size_t page_bytes = 4096;

// A rate is measured while the guest sleeps: never for less than the time asked for, but for more
// on a machine that is late to wake it. One unit is lost to rounding.
bool rate_agrees(std::uint64_t measured, std::uint64_t expected, unsigned excess_percent) {
    return measured + 1 >= expected && measured <= expected + expected * excess_percent / 100 + 1;
}

bool about(std::uint64_t measured, std::uint64_t expected) {
    return measured + 1 >= expected && measured <= expected + 1;
}

// The chip itself times the DRAM controller's counters.
bool timed_by_the_chip(const expected_row &row) {
    return row.name == "CPU" || row.name == "GPU" || row.name == "REF_EMI";
}

// The shares of several sources are weighed with their rates, that of one source is not.
bool shares_agree(const expected_row &row, const expected_row &expected, bool single_source,
                  unsigned excess_percent) {
    if (single_source) {
        return row.ultra == expected.ultra && row.preultra == expected.preultra;
    }
    return excess_percent > quiet_machine_percent ||
           (about(row.ultra, expected.ultra) && about(row.preultra, expected.preultra));
}

bool row_agrees(const expected_row &row, const expected_row &expected, bool single_source,
                unsigned excess_percent) {
    if (timed_by_the_chip(expected)) {
        return row == expected;
    }
    return row.name == expected.name &&
           shares_agree(row, expected, single_source, excess_percent) &&
           row.effi == (row.bus == 0 ? 0 : row.data * 100 / row.bus) &&
           rate_agrees(row.data, expected.data, excess_percent) &&
           rate_agrees(row.bus, expected.bus, excess_percent);
}

std::string describe(const expected_row &row) {
    std::ostringstream text;
    text << row.name << " " << row.data << " " << row.effi << " " << row.bus << " " << row.ultra
         << " " << row.preultra << "\n";
    return text.str();
}

// Columns of a row of a port report that are rates measured while the guest sleeps. Of the row of a
// larb report's totals, the efficiency is a quotient of two of them.
std::vector<std::size_t> rate_columns(const lines &words) {
    if (words[0] == "In" || words[0] == "Out") {
        return {2, 3};
    }
    return words.size() == 11 ? std::vector<std::size_t>{4, 5} : std::vector<std::size_t>{};
}

bool port_row_agrees(const std::string &row, const std::string &expected) {
    const lines measured_words = tests::words_of(row);
    lines words = tests::words_of(expected);

    if (measured_words.size() != words.size()) {
        return false;
    }
    if (words.size() == 3 && std::isdigit(words[0][0]) != 0) {
        return rate_agrees(std::stoull(measured_words[0]), std::stoull(words[0]),
                           quiet_machine_percent) &&
               about(std::stoull(measured_words[1]), std::stoull(words[1])) &&
               rate_agrees(std::stoull(measured_words[2]), std::stoull(words[2]),
                           quiet_machine_percent);
    }
    for (const std::size_t column : rate_columns(words)) {
        if (rate_agrees(std::stoull(measured_words[column]), std::stoull(words[column]),
                        quiet_machine_percent)) {
            words[column] = measured_words[column];
        }
    }
    return measured_words == words;
}

}  // namespace

std::string objections_to_total(const std::string &report, const devicetree::flat_tree &tree,
                                const expected_report &expected, unsigned excess_percent) {
    const auto sources = tests::sources_by_module(tree);
    const auto rows = tests::table_rows(report);
    std::string result;

    const bool page_full = report.size() >= page_bytes - 1;
    const bool ended = tests::plain(report).find("Status: ") != std::string::npos;

    if (rows.size() != expected.rows.size() || (!ended && !page_full)) {
        return "incomplete report:\n" + tests::plain(report);
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto own = sources.find(expected.rows[i].name);
        const bool single = own != sources.end() && own->second.size() == 1;
        if (!row_agrees(rows[i], expected.rows[i], single, excess_percent)) {
            result += "measured " + describe(rows[i]) + "expected " + describe(expected.rows[i]);
        }
    }
    return result;
}

std::string objections_to_ports(const std::string &report, lines expected) {
    lines rows = tests::port_rows(report);
    std::string result;

    if (report.size() >= page_bytes - 1 && rows.size() < expected.size()) {
        rows.pop_back();
        expected.resize(rows.size());
    }
    if (rows.size() != expected.size()) {
        return "incomplete report:\n" + tests::plain(report);
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!port_row_agrees(rows[i], expected[i])) {
            result += "measured " + rows[i] + "\nexpected " + expected[i] + "\n";
        }
    }
    return result;
}

}  // namespace lab
