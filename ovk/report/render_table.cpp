// SPDX-License-Identifier: GPL-2.0-only
// Tables for people.
#include <algorithm>

#include "ovk/report/render.h"

namespace ovk {

namespace {

using row = std::vector<std::string>;

// Nothing may move the cursor.
std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char each) { return static_cast<unsigned char>(each) < ' ' || each == '\x7f'; }, '?');
    return text;
}

bool is_table(const json &value) {
    return value.is_array() && (value.empty() || value.front().is_object());
}

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

// Lists of objects have tables of their own. What no object knows is left out.
table table_of(const json &list) {
    table made;

    made.rows.resize(list.size());
    for (const auto &[name, first] : list.front().items()) {
        const std::string &member = name;
        const auto has_text = [&](const json &each) { return each[member].is_string(); };
        const auto is_unknown = [&](const json &each) { return each[member].is_null(); };
        if (is_table(first) || std::all_of(list.begin(), list.end(), is_unknown)) {
            continue;
        }
        made.titles.push_back(member);
        made.left.push_back(std::any_of(list.begin(), list.end(), has_text));
        for (std::size_t i = 0; i < list.size(); ++i) {
            made.rows[i].push_back(shown(list[i][member]));
        }
    }
    return made;
}

bool has_lists(const json &object) {
    return std::any_of(object.begin(), object.end(), is_table);
}

void add_list(const std::string &title, const json &list, std::string &text);

void add_lists_of(const json &object, std::string &text) {
    for (const auto &[name, value] : object.items()) {
        if (is_table(value) && !value.empty()) {
            add_list(name, value, text);
        }
    }
}

void add_table(const std::string &title, const json &list, std::string &text) {
    const table made = table_of(list);
    if (!made.titles.empty()) {
        text += "\n" + title + ":\n" + made.text();
    }
}

// Objects with lists in them follow each other, each with its own.
void add_list(const std::string &title, const json &list, std::string &text) {
    if (!has_lists(list.front())) {
        add_table(title, list, text);
        return;
    }
    for (const json &each : list) {
        add_table(title, json::array({each}), text);
        add_lists_of(each, text);
    }
}

}  // namespace

std::string text_of(const json &report) {
    json own = json::object();
    std::string text;

    for (const auto &[name, value] : report.items()) {
        if (value.is_object()) {
            add_table(name, json::array({value}), text);
        } else if (!value.is_array()) {
            own[name] = value;
        }
    }
    add_lists_of(report, text);
    for (const json &line : report["unparsed"]) {
        text += "\nunparsed: " + printable(line.get<std::string>());
    }
    return table_of(json::array({own})).text() + text;
}

}  // namespace ovk
