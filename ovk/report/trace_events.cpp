// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/trace_events.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "ovk/report/replay.h"

namespace ovk {

namespace {

constexpr int process = 1;
constexpr double ns_per_unit = 1000;  // of the format: microseconds

std::string counter_name(const any_report &report, const named_figure &figure) {
    return std::string(name_of(report)) + "." + figure.name;
}

json event_at(const char *phase, const std::string &name, std::int64_t time_ns) {
    return {{"ph", phase},
            {"name", name},
            {"pid", process},
            {"tid", 0},
            {"ts", static_cast<double>(time_ns) / ns_per_unit}};
}

// As text at once: as objects, the events of a long recording would need gigabytes.
class event_list {
  public:
    void add(const json &event) {
        text_.append(between_).append(event.dump());
        between_ = ",\n";
    }
    std::string take() { return std::move(text_.append("\n]}\n")); }

  private:
    std::string text_ = R"({"displayTimeUnit":"ms","otherData":{"clock":"boot"},"traceEvents":[)";
    const char *between_ = "\n";
};

// A figure is known when the sweep has ended.
void add_report(event_list &events, const any_report &report) {
    const report_head &head = head_of(report);
    json slice = event_at("X", std::string("sweep ") + name_of(report), head.start_ns);

    slice["dur"] = static_cast<double>(head.end_ns - head.start_ns) / ns_per_unit;
    slice["args"] = {{"complete", head.complete}};
    events.add(slice);
    for (const named_figure &each : figures_of(report)) {
        if (each.value) {
            json counter = event_at("C", counter_name(report, each), head.end_ns);
            counter["args"] = {{"value", number_of(*each.value)}};
            events.add(counter);
        }
    }
}

void add_event(event_list &events, const recorded_event &of) {
    json instant =
        event_at("i", (of.is_mark ? "mark: " : "write: ") + utf8_of(of.text), of.time_ns);

    instant["s"] = "g";
    events.add(instant);
}

}  // namespace

std::string trace_of(const std::string &recording) {
    replay recorded(recording);
    event_list events;

    events.add({{"ph", "M"},
                {"name", "process_name"},
                {"pid", process},
                {"args", {{"name", "ovk " + utf8_of(recorded.header().source)}}}});
    while (const auto next = recorded.next()) {
        if (const auto *report = std::get_if<any_report>(&*next)) {
            add_report(events, *report);
        } else {
            add_event(events, std::get<recorded_event>(*next));
        }
    }
    return events.take();
}

// A vertical bar would end the name.
std::vector<std::string> marker_lines(const any_report &report, int process) {
    std::vector<std::string> lines;

    for (const named_figure &each : figures_of(report)) {
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
