// SPDX-License-Identifier: GPL-2.0-only
#include <nlohmann/json.hpp>

#include "ovk/report/render.h"

namespace ovk {

namespace {

bool is_list_of_objects(const json &value) {
    return value.is_array() && !value.empty() && value.front().is_object();
}

// The columns of the other lists have names that these have, too, and another meaning.
bool is_main_list(const std::string &name) {
    return name != "bars" && name != "larb_modules";
}

bool is_column(const std::string &name, const json &value) {
    return name != "unparsed" && !value.is_object() &&
           (!value.is_array() || name.ends_with("ports")) && !is_list_of_objects(value);
}

// The members of an object that are no lists of objects; those of objects in it have its name
// before theirs.
void add_columns(const json &object, const std::string &prefix, json &known) {
    for (const auto &[name, value] : object.items()) {
        if (value.is_object()) {
            add_columns(value, prefix + name + "_", known);
        } else if (is_column(name, value)) {
            known[prefix + name] = value;
        }
    }
}

// What is known so far and the object's own members, in a row for each element of its lists.
void add_rows(const json &object, json known, json &rows) {
    const std::size_t before = rows.size();

    add_columns(object, "", known);
    for (const auto &[name, value] : object.items()) {
        if (is_list_of_objects(value) && is_main_list(name)) {
            for (const json &each : value) {
                add_rows(each, known, rows);
            }
        }
    }
    if (rows.size() == before) {
        rows.push_back(std::move(known));
    }
}

std::string quoted(const std::string &cell) {
    if (cell.find_first_of(",\"\r\n") == cell.npos) {
        return cell;
    }
    std::string text = "\"";
    for (const char each : cell) {
        text += each == '"' ? "\"\"" : std::string(1, each);
    }
    return text + "\"";
}

// A list of numbers stands in one cell, with blanks between.
std::string cell_of(const json &value) {
    if (value.is_array()) {
        std::string text;
        for (const json &each : value) {
            text += (text.empty() ? "" : " ") + cell_of(each);
        }
        return text;
    }
    return value.is_null() ? "" : value.is_string() ? quoted(value) : value.dump();
}

}  // namespace

std::string csv_lines(const json &rows, const json &titles) {
    std::string text;
    std::string line;

    for (const auto &[name, unused] : titles.items()) {
        line += (line.empty() ? "" : ",") + name;
    }
    text = line + "\n";
    for (const json &each : rows) {
        line.clear();
        for (const auto &[name, unused] : titles.items()) {
            line += each.contains(name) ? cell_of(each[name]) + "," : ",";
        }
        line.back() = '\n';
        text += line;
    }
    return text;
}

json rows_of(const json &object) {
    json rows = json::array();
    add_rows(object, json::object(), rows);
    return rows;
}

std::string csv_of(const any_report &report) {
    json titles = json::object();
    for (const json &each : rows_of(sample_of(report))) {
        titles.update(each);
    }
    return csv_lines(rows_of(json_of(report)), titles);
}

}  // namespace ovk
