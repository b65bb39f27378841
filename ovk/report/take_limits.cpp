// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>

#include "ovk/base/failure.h"
#include "ovk/report/take.h"
#include "ovk/source/refusal.h"

namespace ovk {

namespace {

// Reports that are parts of one.
void add_head(report_head &to, const report_head &part) {
    to.end_ns = std::max(to.end_ns, part.end_ns);
    to.log_seen = to.log_seen && part.log_seen;
    to.complete = to.complete && part.complete;
    to.reasons.insert(to.reasons.end(), part.reasons.begin(), part.reasons.end());
    to.unparsed.insert(to.unparsed.end(), part.unparsed.begin(), part.unparsed.end());
}

// Channel 0's bandwidth limits are shown without a measurement, too.
void add_emi(limits_report &to, source &from) {
    const emi_report detail = take_emi_detail(from);

    add_head(to.head, detail.head);
    for (const emi_channel_figures &channel : detail.channels) {
        for (const emi_port_figures &port : channel.ports) {
            to.emi.push_back({channel.channel, port.port, port.limits});
        }
    }
}

void add_larbs(limits_report &to, source &from, moved_setting &selection) {
    for (const module_ports &module : parse_ip_config(take_or_throw(from, "ip_config")).modules) {
        for (const larb_group &group : module.larbs) {
            for (const std::uint64_t port : group.ports) {
                to.larbs.push_back(
                    {group.larb, port, take_larb_limit(from, selection, *group.larb, port)});
                if (!to.larbs.back().outstanding_limit) {
                    to.head.incomplete("larb " + std::to_string(*group.larb) + " port " +
                                       std::to_string(port) + " shows no limit");
                }
            }
        }
    }
}

}  // namespace

figure take_larb_limit(source &from, moved_setting &selection, std::uint64_t larb,
                       std::uint64_t port) {
    selection.move(std::to_string(larb) + " " + std::to_string(port));
    const reading taken = take_or_throw(from, "larb_ostdl");
    const auto shown = parse_larb_ostdl(taken.came.text);

    return shown && shown->larb == larb && shown->port == port &&
                   (!taken.log || complaint_in(*taken.log).empty())
               ? figure(shown->outstanding_limit)
               : std::nullopt;
}

limits_report take_limits(source &from) {
    limits_report report;
    const reading selected = take_or_throw(from, "larb_ostdl");
    const auto shown = parse_larb_ostdl(selected.came.text);

    report.head.start_ns = selected.came.start_ns;
    add_emi(report, from);
    if (shown) {
        moved_setting selection(from, "larb_ostdl",
                                std::to_string(shown->larb) + " " + std::to_string(shown->port));
        add_larbs(report, from, selection);
        selection.put_back();
    } else {
        report.head.incomplete("larb_ostdl shows no limit");
    }
    add_cpu_ranges(report, take_or_throw(from, "cpupri"));
    return report;
}

}  // namespace ovk
