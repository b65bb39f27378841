// SPDX-License-Identifier: GPL-2.0-only
// The reports of larbs and SMI commons.
#include "ovk/report/doubts.h"
#include "ovk/report/parse.h"
#include "ovk/report/parsing.h"

namespace ovk {

namespace {

constexpr const char *larb_legend[] = {
    "OL: Outstanding Limit(Hex)",
    "U: Force ultra PU: Force pre-ultra",
    "R_BW / W_BW: R/W BW (MB/s)",
    "M_CP: MAX CP(ns)",
    "B: AVG Burst",
    "E: Efficiency",
    "UR: Ultra ratio",
    "PUR: Pre-Ultra ratio",
};

struct larb_state {
    larb_report report;
    std::optional<columns> table = {};
    std::string frame = {};

    static constexpr bool sure_of_end = true;
    bool ended() const { return report.sum.bus_mbps.has_value() || report.supported == false; }
};

bool take_larb_fixed(const report_line &line, larb_state &) {
    return is_blank(line.plain) || starts_report(line.plain) ||
           std::find(std::begin(larb_legend), std::end(larb_legend), line.plain) !=
               std::end(larb_legend);
}

// What stands between the two; a name may have anything in it.
label between(std::string_view text, std::string_view before, std::string_view behind) {
    if (text.size() < before.size() + behind.size() || !text.starts_with(before) ||
        !text.ends_with(behind)) {
        return std::nullopt;
    }
    return std::string(text.substr(before.size(), text.size() - before.size() - behind.size()));
}

bool take_larb_module(const report_line &line, larb_state &state) {
    const label named = between(line.raw, "Module : \x1b[46;30m  ", "  \x1b[0m\x1b[K");
    const label excused = between(line.raw, "", " not support larb monitor\x1b[K");
    if (!named && !excused) {
        return false;
    }
    state.report.module = named ? named : excused;
    state.report.supported = named.has_value();
    return true;
}

bool take_larb(const report_line &line, larb_state &state) {
    larb_figures larb;
    if (!takes_number_behind(line.plain, "SMI_LARB ", larb.larb)) {
        return false;
    }
    state.report.larbs.push_back(std::move(larb));
    state.table.reset();
    return true;
}

bool take_larb_titles(const report_line &line, larb_state &state) {
    const auto found = columns::under(
        line.plain, {"ID", "OL", "U", "PU", "R_BW", "W_BW", "M_CP", "B", "E", "UR", "PUR"});
    if (!found || state.report.larbs.empty()) {
        return false;
    }
    state.table = found;
    return true;
}

bool take_larb_port(const report_line &line, larb_state &state) {
    const auto cells = state.table ? state.table->split(line.plain) : std::nullopt;
    larb_port_figures port;

    if (!cells || !take((*cells)[0], port.port) || !take((*cells)[1], port.outstanding_limit, 16) ||
        !take((*cells)[2], port.force_ultra) || !take((*cells)[3], port.force_preultra) ||
        !take((*cells)[4], port.read_mbps) || !take((*cells)[5], port.write_mbps) ||
        !take((*cells)[6], port.max_period_ns) || !take((*cells)[7], port.burst) ||
        !take_unless_zero((*cells)[8], port.efficiency_percent) ||
        !take((*cells)[9], port.ultra_percent) || !take((*cells)[10], port.preultra_percent)) {
        return false;
    }
    state.report.larbs.back().ports.push_back(port);
    return true;
}

bool take_larb_frame(const report_line &line, larb_state &state) {
    if (split_framed(line.plain, line.plain) != fields{"Data BW", "Effi", "Bus BW"}) {
        return false;
    }
    state.frame = line.plain;
    return true;
}

bool take_larb_sum(const report_line &line, larb_state &state) {
    const auto cells = split_framed(line.plain, state.frame);
    traffic_sum sum;

    if (!cells || !take((*cells)[0], sum.data_mbps) ||
        !take_unless_zero((*cells)[1], sum.efficiency_percent) ||
        !take((*cells)[2], sum.bus_mbps)) {
        return false;
    }
    state.report.sum = sum;
    return true;
}

constexpr line_handler<larb_state> larb_handlers[] = {
    take_larb_fixed, take_larb_module, take_larb,     take_larb_titles,
    take_larb_port,  take_larb_frame,  take_larb_sum,
};

struct scomm_state {
    scomm_report report;
    std::optional<columns> table = {};
    bool at_gap = false;  // behind an empty line

    static constexpr bool sure_of_end = false;
    bool ended() const { return at_gap; }
};

bool take_scomm_fixed(const report_line &line, scomm_state &state) {
    state.at_gap = is_blank(line.plain);
    return state.at_gap || starts_report(line.plain);
}

bool take_common(const report_line &line, scomm_state &state) {
    common_figures common;
    if (!takes_number_behind(line.plain, "SMI_COMMON ", common.common)) {
        return false;
    }
    state.report.commons.push_back(std::move(common));
    state.table.reset();
    return true;
}

bool take_common_titles(const report_line &line, scomm_state &state) {
    const auto found = columns::under(line.plain, {"TYPE", "PORT", "R_BW", "W_BW", "M_RCP", "M_WCP",
                                                   "BURST", "EFFI", "UR", "PUR"});
    if (!found || state.report.commons.empty()) {
        return false;
    }
    state.table = found;
    return true;
}

// Outputs have "-" there: no monitor watches them.
bool take_watched(const fields &cells, common_port_figures &port) {
    if (port.direction == "out") {
        return std::all_of(cells.begin() + 6, cells.end(), [](std::string_view cell) {
            label none;
            return take(cell, none) && none == "-";
        });
    }
    return take(cells[6], port.burst) && take_unless_zero(cells[7], port.efficiency_percent) &&
           take(cells[8], port.ultra_percent) && take(cells[9], port.preultra_percent);
}

bool take_common_port(const report_line &line, scomm_state &state) {
    const auto cells = state.table ? state.table->split(line.plain) : std::nullopt;
    label type;
    common_port_figures port;

    if (!cells || !take((*cells)[0], type) || (type != "In" && type != "Out")) {
        return false;
    }
    port.direction = type == "In" ? "in" : "out";
    if (!take((*cells)[1], port.port) || !take((*cells)[2], port.read_mbps) ||
        !take((*cells)[3], port.write_mbps) || !take((*cells)[4], port.max_read_period_ns) ||
        !take((*cells)[5], port.max_write_period_ns) || !take_watched(*cells, port)) {
        return false;
    }
    state.report.commons.back().ports.push_back(std::move(port));
    return true;
}

constexpr line_handler<scomm_state> scomm_handlers[] = {take_scomm_fixed, take_common,
                                                        take_common_titles, take_common_port};

}  // namespace

larb_report parse_larb(const reading &from) {
    larb_report report = parse_with(larb_handlers, from);

    forget_free_data(report.sum.data_mbps, report.sum.bus_mbps);
    apply_log(report, from.log);
    return report;
}

scomm_report parse_scomm(const reading &from) {
    scomm_report report = parse_with(scomm_handlers, from);

    apply_log(report, from.log);
    return report;
}

}  // namespace ovk
