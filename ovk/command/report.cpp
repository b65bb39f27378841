// SPDX-License-Identifier: GPL-2.0-only
// ovk report: a report as figures.
#include <algorithm>

#include "ovk/base/whole_file.h"
#include "ovk/command/commands.h"
#include "ovk/command/numbers.h"
#include "ovk/report/render.h"
#include "ovk/report/take.h"

namespace ovk {

namespace {

struct report_request {
    std::string report;
    std::string format = "text";
    std::optional<std::uint32_t> time_ms;
    std::optional<std::string> module;
    std::string output;
    bool strict = false;
};

failure no_module(const source &where, const std::string &module) {
    return {exit_status::usage, where.name() + ": the report has no module '" + module +
                                    "'; without --module it shows those that it has"};
}

// By name or by id.
template <class record>
void keep_module(std::vector<record> &list, const std::string &module) {
    std::erase_if(list, [&](const record &each) {
        return each.name != module && (!each.id || std::to_string(*each.id) != module);
    });
}

any_report take_total(source &from, const report_request &wanted) {
    if (wanted.time_ms) {
        set_total_time(from, *wanted.time_ms);
    }
    total_report report = parse_total(take_total(from));
    if (wanted.module) {
        keep_module(report.modules, *wanted.module);
        if (report.modules.empty()) {
            throw no_module(from, *wanted.module);
        }
        std::erase_if(report.bars, [&](const bar_figures &bar) {
            return bar.name != report.modules.front().name;
        });
    }
    return report;
}

any_report take_larb(source &from, const report_request &wanted) {
    if (!wanted.module && !wanted.time_ms) {
        return parse_larb(take_or_throw(from, "bw_larb"));
    }
    larb_selector selector(from);
    const std::string module = wanted.module.value_or(selector.present().module.value_or(""));
    larb_report report = selector.take(selector.id_of(module), wanted.time_ms);
    selector.put_back();
    return report;
}

// What takes nothing but a time.
void set_time(source &where, const char *attribute, const report_request &wanted) {
    if (wanted.time_ms) {
        set_or_throw(where, attribute, std::to_string(*wanted.time_ms));
    }
}

any_report take_scomm(source &from, const report_request &wanted) {
    set_time(from, "bw_scomm", wanted);
    return parse_scomm(take_or_throw(from, "bw_scomm"));
}

any_report take_emi(source &from, const report_request &wanted) {
    set_time(from, "bw_emi", wanted);
    return parse_emi(take_or_throw(from, "bw_emi"));
}

any_report take_bus(source &from, const report_request &wanted) {
    set_time(from, "bw_emi", wanted);
    return parse_bus(take_bus(from));
}

any_report take_fifo(source &from, const report_request &wanted) {
    fifo_report report = parse_fifo(take_or_throw(from, "fifo_status"));

    if (wanted.module) {
        std::erase_if(report.fifos,
                      [&](const fifo_figures &each) { return each.module != wanted.module; });
        if (report.fifos.empty()) {
            throw no_module(from, *wanted.module);
        }
    }
    return report;
}

any_report take_ports(source &from, const report_request &wanted) {
    ports_report report = take_ports(from);

    if (wanted.module) {
        keep_module(report.modules, *wanted.module);
        keep_module(report.larb_modules, *wanted.module);
        if (report.modules.empty()) {
            throw no_module(from, *wanted.module);
        }
    }
    return report;
}

any_report take_limits(source &from, const report_request &) {
    return take_limits(from);
}

struct kind {
    const char *name;
    any_report (*take)(source &, const report_request &);
    bool has_time;
    bool has_modules;
};

constexpr kind kinds[] = {
    {"total", take_total, true, true},  {"larb", take_larb, true, true},
    {"scomm", take_scomm, true, false}, {"emi", take_emi, true, false},
    {"bus", take_bus, true, false},     {"fifo", take_fifo, false, true},
    {"ports", take_ports, false, true}, {"limits", take_limits, false, false},
};

const kind &kind_of(const report_request &wanted) {
    const kind &found = *std::find_if(std::begin(kinds), std::end(kinds),
                                      [&](const kind &each) { return wanted.report == each.name; });

    if ((wanted.time_ms && !found.has_time) || (wanted.module && !found.has_modules)) {
        throw failure(exit_status::usage,
                      "report " + wanted.report + " has no option " +
                          (wanted.time_ms && !found.has_time ? "--time" : "--module"));
    }
    return found;
}

void run_report(context &shared, const report_request &wanted) {
    const kind &asked = kind_of(wanted);
    const auto from = shared.open();
    const any_report report = asked.take(*from, wanted);

    const std::string text = rendered(report, wanted.format);
    if (wanted.output.empty()) {
        shared.out << text << std::flush;
    } else {
        write_whole_file(wanted.output, text);
    }
    if (wanted.strict && !head_of(report).complete) {
        shared.status = exit_status::incomplete;
    }
}

}  // namespace

void add_report(CLI::App &app, context &shared) {
    const auto wanted = std::make_shared<report_request>();
    CLI::App *command = app.add_subcommand("report", "Print a report as figures");

    command->add_option("REPORT", wanted->report, "Which one")
        ->required()
        ->check(CLI::IsMember(
            std::vector<std::string>(std::begin(report_names), std::end(report_names))));
    command->add_option("--format", wanted->format, "How (default text)")
        ->check(CLI::IsMember({"text", "json", "csv", "openmetrics"}));
    command->add_option("--time", wanted->time_ms, "Measuring time in ms; it stays set")
        ->check(positive<std::uint32_t>());
    command->add_option("-o,--output", wanted->output,
                        "File, replaced as a whole (default: standard output)");
    command->add_option("--module", wanted->module, "Id or name of a module");
    command->add_flag("--strict", wanted->strict, "Status 4 when something is missing in it");
    command->callback([&shared, wanted] { run_report(shared, *wanted); });
}

}  // namespace ovk
