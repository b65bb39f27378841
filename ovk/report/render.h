// SPDX-License-Identifier: GPL-2.0-only
// Reports as JSON, and what is made of that: tables for people and for spreadsheets.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "ovk/report/report.h"

namespace ovk {

// Keeps the order of the members.
using json = nlohmann::ordered_json;

// Every member that such a report can have is there; null is what it does not know. Bytes of names
// that are no UTF-8 are replaced.
json json_of(const any_report &report);

// The bytes as UTF-8.
std::string utf8_of(const std::string &bytes);

// The same, with nothing in it that a terminal would obey.
std::string printable(const std::string &bytes);

// One of the same kind that knows nothing, with an element in every list: all its members.
json sample_of(const any_report &report);

// What an object says, in a row for each innermost element of its lists: what the objects around
// that say comes first.
json rows_of(const json &object);

// A table for each list, then one for each object, then what the report itself says. Columns that
// are empty throughout are left out.
std::string text_of(const json &report);

// In a format that has such a name: text, json, csv or openmetrics.
std::string rendered(const any_report &report, const std::string &format);

// A row for each element of the main lists, with what the whole report has in the first columns.
// The columns are the same for all reports of a kind. Empty: not known.
std::string csv_of(const any_report &report);

// The line of titles, the members of `titles`, and then the rows.
std::string csv_lines(const json &rows, const json &titles);

// For the node exporter: gauges in base units, without time stamps. What is not known is left out.
std::string openmetrics_of(const any_report &report);

}  // namespace ovk
