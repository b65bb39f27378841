// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/trace_events.h"

#include <cmath>

#include "ovk/report/replay.h"

namespace ovk {

namespace {

constexpr int process = 1;
constexpr double ns_per_us = 1000;

std::string counter_name(const any_report &report, const named_figure &figure) {
    return std::string(name_of(report)) + "." + figure.name;
}

json event_at(const char *phase, const std::string &name, std::int64_t time_ns) {
    return {{"ph", phase},
            {"name", name},
            {"pid", process},
            {"tid", 0},
            {"ts", static_cast<double>(time_ns) / ns_per_us}};
}

// A figure is known when the sweep has ended.
void add_report(json &events, const any_report &report) {
    const report_head &head = head_of(report);
    json slice = event_at("X", std::string("sweep ") + name_of(report), head.start_ns);

    slice["dur"] = static_cast<double>(head.end_ns - head.start_ns) / ns_per_us;
    slice["args"] = {{"complete", head.complete}};
    events.push_back(std::move(slice));
    for (const named_figure &each : figures_of(json_of(report))) {
        if (each.value) {
            json counter = event_at("C", counter_name(report, each), head.end_ns);
            counter["args"] = {{"value", number_of(*each.value)}};
            events.push_back(std::move(counter));
        }
    }
}

void add_event(json &events, const recorded_event &of) {
    json instant =
        event_at("i", (of.is_mark ? "mark: " : "write: ") + utf8_of(of.text), of.time_ns);

    instant["s"] = "g";
    events.push_back(std::move(instant));
}

}  // namespace

json trace_of(const std::string &recording) {
    replay recorded(recording);
    json events = json::array({{{"ph", "M"},
                                {"name", "process_name"},
                                {"pid", process},
                                {"args", {{"name", "ovk " + utf8_of(recorded.header().source)}}}}});

    while (const auto next = recorded.next()) {
        if (const auto *report = std::get_if<any_report>(&*next)) {
            add_report(events, *report);
        } else {
            add_event(events, std::get<recorded_event>(*next));
        }
    }
    return {{"displayTimeUnit", "ms"},
            {"otherData", {{"clock", "boot"}}},
            {"traceEvents", std::move(events)}};
}

// A vertical bar would end the name.
std::vector<std::string> marker_lines(const any_report &report, int process) {
    std::vector<std::string> lines;

    for (const named_figure &each : figures_of(json_of(report))) {
        if (each.value) {
            std::string name = "ovk." + counter_name(report, each);
            for (char &letter : name) {
                letter = letter == '|' || letter == '\n' ? '_' : letter;
            }
            lines.push_back("C|" + std::to_string(process) + "|" + name + "|" +
                            std::to_string(std::llround(*each.value)));
        }
    }
    return lines;
}

}  // namespace ovk
