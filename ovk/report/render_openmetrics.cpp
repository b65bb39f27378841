// SPDX-License-Identifier: GPL-2.0-only
// In base units, as Prometheus has them: bytes per second, ratios, seconds.
#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "ovk/report/named_figures.h"

namespace ovk {

namespace {

// What the end of a figure's name says about its unit, and how it is had from the figure.
struct unit {
    const char *ending;
    const char *base;
    double times;
    double by;
};

constexpr unit units[] = {
    {"_mbps", "_bytes_per_second", 1e6, 1},
    {"_percent", "_ratio", 1, 100},
    {".percent", ".ratio", 1, 100},
    {"_permille", "_ratio", 1, 1000},
    {"_ns", "_seconds", 1, 1e9},
    {"_mtps", "_hertz", 1e6, 1},
    {"_bits", "_bytes", 1, 8},
    {"_count", "_requests", 1, 1},
};

// The first ending that fits.
struct meaning {
    const char *ending;
    const char *help;
};

constexpr meaning meanings[] = {
    {"usage.total_mbps", "Bandwidth that the memory has in theory"},
    {"usage.bus_mbps", "Bandwidth of the memory that all modules together occupy"},
    {"usage.percent", "Part of the theoretical bandwidth that is occupied"},
    {"slack_mbps",
     "Theoretical bandwidth that is not occupied; below 0 when too much is asked for"},
    {"slack_percent", "Part of the theoretical bandwidth that is not occupied"},
    {"not_done_count", "Requests that were not served in time"},
    {"usage_percent", "Part of the cycles in which the memory bus is occupied"},
    {"width_bits", "Width of the memory bus"},
    {"clock_mtps", "Transfers on each line of the memory bus"},
    {"data_mbps", "Data that are moved"},
    {"bus_mbps", "Bandwidth of the memory bus that the data occupy"},
    {"efficiency_percent", "Data bandwidth as part of the occupied one"},
    {"preultra_percent", "Part of the requests with raised priority"},
    {"ultra_percent", "Part of the requests with highest priority"},
    {"max_read_period_ns", "Longest read request"},
    {"max_write_period_ns", "Longest write request"},
    {"max_period_ns", "Longest request"},
    {"latency_ns", "Mean latency of requests"},
    {"read_mbps", "Data that are read"},
    {"write_mbps", "Data that are written"},
    {"burst", "Mean length of bursts"},
};

template <class entry, std::size_t n>
const entry *entry_for(const entry (&table)[n], const std::string &name) {
    const auto *found = std::find_if(
        table, table + n, [&](const entry &each) { return name.ends_with(each.ending); });
    return found == table + n ? nullptr : found;
}

std::string as_metric(const std::string &report, const std::string &family) {
    const unit *found = entry_for(units, family);
    std::string name =
        "ovk_" + report + "_" +
        (found == nullptr
             ? family
             : family.substr(0, family.size() - std::string(found->ending).size()) + found->base);
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

std::string escaped(const std::string &label) {
    std::string text;
    for (const char each : label) {
        text += each == '\\'   ? "\\\\"
                : each == '"'  ? "\\\""
                : each == '\n' ? "\\n"
                               : std::string(1, each);
    }
    return text;
}

std::string braced(const std::vector<std::pair<std::string, std::string>> &labels) {
    std::string text;
    for (const auto &[name, value] : labels) {
        text += (text.empty() ? "{" : ",") + name + "=\"" + escaped(value) + "\"";
    }
    return text.empty() ? "" : text + "}";
}

std::string head_of_metric(const std::string &metric, const std::string &family) {
    const meaning *found = entry_for(meanings, family);
    const unit *measured = entry_for(units, family);
    std::string text = "# TYPE " + metric + " gauge\n";

    if (measured != nullptr) {
        text += "# UNIT " + metric + " " + (measured->base + 1) + "\n";
    }
    return text + "# HELP " + metric + " " + (found == nullptr ? family : found->help) + "\n";
}

std::string base_value(const named_figure &figure) {
    const unit *found = entry_for(units, figure.family);
    return number_of(found == nullptr ? *figure.value : *figure.value * found->times / found->by)
        .dump();
}

// All of a family stand together, as the format has it.
std::string family_text(const std::string &report, const std::string &family,
                        const std::vector<named_figure> &figures) {
    const std::string metric = as_metric(report, family);
    std::string samples;

    for (const named_figure &each : figures) {
        if (each.family == family && each.value) {
            samples += metric + braced(each.labels) + " " + base_value(each) + "\n";
        }
    }
    return samples.empty() ? "" : head_of_metric(metric, family) + samples;
}

std::string state_text(const std::string &metric, const char *help, const std::string &label,
                       const json &states, const json &present) {
    std::string text = "# TYPE " + metric + " gauge\n# HELP " + metric + " " + help + "\n";

    for (const std::string state : states) {
        text += metric + braced({{label, state}}) + (present == state ? " 1\n" : " 0\n");
    }
    return text;
}

}  // namespace

std::string openmetrics_of(const any_report &report) {
    const json object = json_of(report);
    const std::string name = object["report"];
    const std::vector<named_figure> figures = figures_of(object);
    std::vector<std::string> families;
    std::string text;

    for (const named_figure &each : figures) {
        if (std::find(families.begin(), families.end(), each.family) == families.end()) {
            families.push_back(each.family);
            text += family_text(name, each.family, figures);
        }
    }
    if (object.contains("status") && !object["status"].is_null()) {
        text += state_text("ovk_" + name + "_status", "The module's verdict on the usage", "status",
                           {"SAFE", "WARNING", "DANGER"}, object["status"]);
    }
    text += "# TYPE ovk_" + name + "_complete gauge\n# HELP ovk_" + name +
            "_complete 1: nothing is missing in the report\novk_" + name + "_complete " +
            (object["complete"] ? "1" : "0") + "\n";
    return text + "# EOF\n";
}

}  // namespace ovk
