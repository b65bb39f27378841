// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/plot/page.h"

#include <filesystem>
#include <nlohmann/json.hpp>

#include "ovk/plot/parts.h"
#include "ovk/report/named_figures.h"
#include "ovk/report/replay.h"

namespace ovk {

namespace {

// The figures of one sweep more. Those that a sweep does not have are null there.
void add_sweep(json &columns, const any_report &report) {
    const report_head &head = head_of(report);
    const json object = json_of(report);
    json &figures = columns["figures"];
    const std::size_t before = columns["end_ns"].size();

    columns["start_ns"].push_back(head.start_ns);
    columns["end_ns"].push_back(head.end_ns);
    columns["status"].push_back(object.contains("status") ? object["status"] : json());
    for (const named_figure &each : figures_of(object)) {
        json &values = figures[each.name];
        while (values.size() < before) {
            values.push_back(nullptr);
        }
        values.push_back(each.value ? number_of(*each.value) : json());
    }
    for (json &values : figures) {
        if (values.size() == before) {
            values.push_back(nullptr);
        }
    }
}

json empty_columns() {
    return {{"start_ns", json::array()},
            {"end_ns", json::array()},
            {"status", json::array()},
            {"figures", json::object()}};
}

json facts_of(const recording_header &header) {
    json facts = {{"source", utf8_of(header.source)}, {"begun", header.utc}};

    for (const auto &[name, value] : header.facts) {
        facts[name] = value.empty() ? json() : json(utf8_of(value));
    }
    facts["ovk"] = header.version;
    for (const auto &[name, setting] : header.settings) {
        facts[name] = utf8_of(setting.text);
    }
    for (const std::string &each : header.unreadable) {
        facts["not readable"] = facts.contains("not readable")
                                    ? facts["not readable"].get<std::string>() + "\n" + each
                                    : each;
    }
    return facts;
}

// Nothing in it ends the element that it stands in.
std::string for_script(const json &data) {
    std::string text;

    for (const char each : data.dump()) {
        text += each == '<' ? "\\u003c" : std::string(1, each);
    }
    return text;
}

// In one pass, so that what is put in is not searched.
std::string filled(std::string_view page,
                   const std::vector<std::pair<std::string_view, std::string_view>> &parts) {
    std::string text;

    for (const auto &[mark, part] : parts) {
        const std::size_t found = page.find(mark);
        text.append(page.substr(0, found)).append(part);
        page.remove_prefix(found + mark.size());
    }
    return text.append(page);
}

}  // namespace

json columns_of(const std::string &recording, std::optional<double> penalty_percent) {
    replay recorded(recording);
    json columns = {{"name", utf8_of(std::filesystem::path(recording).filename())},
                    {"facts", facts_of(recorded.header())},
                    {"penalty_percent", penalty_percent ? number_of(*penalty_percent) : json()},
                    {"reports", json::object()},
                    {"events", json::array()}};

    while (const auto next = recorded.next()) {
        if (const auto *event = std::get_if<recorded_event>(&*next)) {
            columns["events"].push_back({{"time_ns", event->time_ns},
                                         {"mark", event->is_mark},
                                         {"text", utf8_of(event->text)}});
            continue;
        }
        const any_report &report = std::get<any_report>(*next);
        const auto there = columns["reports"].emplace(name_of(report), empty_columns()).first;
        add_sweep(*there, report);
    }
    return columns;
}

std::string page_of(const std::vector<std::string> &recordings,
                    std::optional<double> penalty_percent) {
    json data = {{"recordings", json::array()}};

    for (const std::string &each : recordings) {
        data["recordings"].push_back(columns_of(each, penalty_percent));
    }
    return filled(page_html, {{"@STYLE@", page_css},
                              {"@DATA@", for_script(data)},
                              {"@CHART@", chart_library},
                              {"@SCRIPT@", page_js}});
}

}  // namespace ovk
