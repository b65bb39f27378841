// SPDX-License-Identifier: GPL-2.0-only
// Tables for people.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "ovk/report/render.h"

namespace ovk {

namespace {

using row = std::vector<std::string>;

std::string joined(const json &list);

std::string bare_text(const json &value) {
    return value.is_null()     ? ""
           : value.is_string() ? value.get<std::string>()
           : value.is_array()  ? joined(value)
                               : value.dump();
}

std::string joined(const json &list) {
    std::string text;
    for (const json &each : list) {
        text += (text.empty() ? "" : " ") + bare_text(each);
    }
    return text;
}

// In characters, not bytes.
std::size_t width_of(const std::string &text) {
    return std::count_if(text.begin(), text.end(), [](char each) {
        return (static_cast<unsigned char>(each) & 0xc0) != 0x80;
    });
}

// Text is on the left, figures are on the right.
std::string line_of(const row &cells, const std::vector<std::size_t> &widths,
                    const std::vector<bool> &left) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string padding(widths[i] - width_of(cells[i]), ' ');
        line += "  " + (left[i] ? cells[i] + padding : padding + cells[i]);
    }
    return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

struct table {
    row titles;
    std::vector<bool> left;
    std::vector<row> rows;

    std::string text() const {
        std::vector<std::size_t> widths;
        for (std::size_t i = 0; i < titles.size(); ++i) {
            widths.push_back(width_of(titles[i]));
            for (const row &each : rows) {
                widths[i] = std::max(widths[i], width_of(each[i]));
            }
        }
        std::string lines = line_of(titles, widths, left);
        for (const row &each : rows) {
            lines += line_of(each, widths, left);
        }
        return lines;
    }
};

std::string shown(const json &value) {
    return value.is_null() ? "-" : printable(bare_text(value));
}

// What no row knows is left out.
table table_of(const json &rows) {
    json titles = json::object();
    table made;

    for (const json &each : rows) {
        titles.update(each);
    }
    made.rows.resize(rows.size());
    for (const auto &[title, unused] : titles.items()) {
        const std::string &name = title;
        const auto value = [&](const json &each) { return each.value(name, json()); };
        if (std::all_of(rows.begin(), rows.end(),
                        [&](const json &each) { return value(each).is_null(); })) {
            continue;
        }
        made.titles.push_back(name);
        made.left.push_back(std::any_of(rows.begin(), rows.end(),
                                        [&](const json &each) { return value(each).is_string(); }));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            made.rows[i].push_back(shown(value(rows[i])));
        }
    }
    return made;
}

void add_table(const std::string &title, const json &rows, std::string &text) {
    const table made = table_of(rows);
    if (!made.titles.empty()) {
        text += title + ":\n" + made.text() + "\n";
    }
}

// Lists inside of others have their rows in the table of these.
json rows_of_list(const json &list) {
    json rows = json::array();
    for (const json &each : list) {
        for (json &row : rows_of(each)) {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

}  // namespace

// The controls of 8 bits are two bytes in UTF-8, 0xc2 and themselves.
std::string printable(const std::string &bytes) {
    std::string text;

    for (const char each : utf8_of(bytes)) {
        const auto byte = static_cast<unsigned char>(each);
        if (byte >= 0x80 && byte < 0xa0 && text.ends_with('\xc2')) {
            text.back() = '?';
        } else {
            text += byte < ' ' || byte == 0x7f ? '?' : each;
        }
    }
    return text;
}

std::string text_of(const json &report) {
    json own = json::object();
    std::string lists;
    std::string objects;

    for (const auto &[name, value] : report.items()) {
        if (value.is_object()) {
            add_table(name, json::array({value}), objects);
        } else if (!value.is_array()) {
            own[name] = value;
        } else if (name != "unparsed") {
            add_table(name, rows_of_list(value), lists);
        }
    }
    std::string text = lists + objects + table_of(json::array({own})).text();
    for (const json &line : report["unparsed"]) {
        text += "\nunparsed: " + printable(line.get<std::string>());
    }
    return text + (report["unparsed"].empty() ? "" : "\n");
}

}  // namespace ovk
