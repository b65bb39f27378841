// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>

#include "ovk/base/failure.h"
#include "ovk/report/lines.h"
#include "ovk/report/take.h"

namespace ovk {

namespace {

// Whether modules behind larbs are left out of the table; they have bars all the same. Nothing
// where the report has none of them.
std::optional<bool> leaves_larbs_out(const total_report &report, const ports_report &ports) {
    const auto is_larb_module = [&](const auto &each) {
        return std::any_of(ports.larb_modules.begin(), ports.larb_modules.end(),
                           [&](const larb_module &module) { return module.name == each.name; });
    };

    if (std::any_of(report.modules.begin(), report.modules.end(), is_larb_module)) {
        return false;
    }
    return std::any_of(report.bars.begin(), report.bars.end(), is_larb_module) ? std::optional(true)
                                                                               : std::nullopt;
}

// Not of the first module alone: one that comes behind the cut has no row.
bool have_same_names(const std::vector<module_figures> &some,
                     const std::vector<module_figures> &all) {
    return some.size() <= all.size() &&
           std::equal(some.begin(), some.end(), all.begin(),
                      [](const auto &one, const auto &other) { return one.name == other.name; });
}

// The simple view has the same modules in the same order, but not the reference.
void add_lost_modules(std::vector<module_figures> &to, const std::vector<module_figures> &all) {
    std::vector<module_figures> known = to;

    std::erase_if(known, [](const module_figures &each) { return each.name == "REF_EMI"; });
    if (have_same_names(known, all)) {
        to.insert(to.end(), all.begin() + static_cast<std::ptrdiff_t>(known.size()), all.end());
    }
}

// A view that this user or this source does not let anybody move is left as it is.
bool may_move(moved_setting &view, const std::string &to) {
    try {
        view.move(to);
        return true;
    } catch (const failure &error) {
        if (error.status() == exit_status::interrupted) {
            throw;
        }
        return false;
    }
}

}  // namespace

bool is_cut(const total_report &report) {
    return report.view == "full" && !report.usage.percent && !report.head.complete;
}

std::optional<reading> take_simple_view(source &from, const reading &first,
                                        const total_report &parsed) {
    moved_setting view(from, "simple_mon", "0");

    if (first.came.text.size() < report_room || !is_cut(parsed) || !may_move(view, "1")) {
        return std::nullopt;
    }
    reading simple = take_reading(from, "bw_total");
    view.put_back();
    return simple.came.error == 0 ? std::optional(std::move(simple)) : std::nullopt;
}

total_readings take_total(source &from) {
    total_readings taken{take_or_throw(from, "bw_total")};

    taken.simple = take_simple_view(from, taken.first, parse_total(taken.first));
    return taken;
}

total_report parse_total(const total_readings &from) {
    total_report report = parse_total(from.first);

    if (from.simple) {
        add_simple_view(report, parse_total(*from.simple));
    }
    return report;
}

void add_simple_view(total_report &to, const total_report &simple) {
    to.simple_view = {simple.head.start_ns, simple.head.end_ns};
    to.usage = simple.usage;
    if (!to.sum.bus_mbps) {
        to.sum = simple.sum;
        add_lost_modules(to.modules, simple.modules);
    }
    to.head.log_seen = to.head.log_seen && simple.head.log_seen;
    to.head.reasons.insert(to.head.reasons.end(), simple.head.reasons.begin(),
                           simple.head.reasons.end());
    to.head.unparsed.insert(to.head.unparsed.end(), simple.head.unparsed.begin(),
                            simple.head.unparsed.end());
}

// It is written together with whether a module takes part, and with PROC.
void set_total_time(source &where, std::uint32_t time_ms) {
    const total_report before = parse_total(take_or_throw(where, "bw_total"));
    const ports_report ports = take_ports(where);
    const auto shown = std::find_if(before.modules.begin(), before.modules.end(),
                                    [](const module_figures &each) { return each.id.has_value(); });
    const auto larbs_left_out =
        ports.larb_modules.empty() ? false : leaves_larbs_out(before, ports);

    if (shown == before.modules.end() || !larbs_left_out) {
        throw failure(exit_status::refused,
                      where.name() +
                          ": bw_total: its report does not show what has to be written with the "
                          "time; write 'ID ENABLE TIME PROC' to it by hand");
    }
    set_or_throw(where, "bw_total",
                 std::to_string(*shown->id) + " 1 " + std::to_string(time_ms) +
                     (*larbs_left_out ? " 1" : " 0"));
}

}  // namespace ovk
