// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/doubts.h"
#include "ovk/report/parse.h"
#include "ovk/report/parsing.h"

namespace ovk {

namespace {

// Widths of fields outside of tables.
constexpr std::size_t bar_name = 9;
constexpr std::size_t longest_name = 10;
constexpr std::size_t bar_rate = 7;
constexpr std::size_t bar_share = 4;
constexpr std::size_t simple_name = 10;
constexpr std::size_t simple_rate = 6;
constexpr std::size_t simple_percent = 3;

struct total_state {
    total_report report;
    std::optional<columns> table = {};
    std::string frame = {};  // titles of the last framed table

    static constexpr bool sure_of_end = true;
    bool ended() const {
        return report.status.has_value() ||
               (report.view == "simple" && report.usage.slack_mbps.has_value());
    }
};

void add_row(total_report &report, module_figures row) {
    forget_free_data(row.data_mbps, row.bus_mbps);
    if (row.name == "SUM") {
        report.sum = std::move(row);
    } else {
        report.modules.push_back(std::move(row));
    }
}

bool take_fixed(const report_line &line, total_state &) {
    return is_blank(line.plain) || starts_report(line.plain);
}

bool take_titles(const report_line &line, total_state &state) {
    const auto found = columns::under(line.plain, {"ID", "MODULE", "DOMAIN", "DATA_BW", "EFFI(%)",
                                                   "BUS_BW", "ULTRA(%)", "PREULTRA(%)"});
    if (!found) {
        return false;
    }
    state.table = found;
    state.report.view = "full";
    return true;
}

bool take_row(const report_line &line, total_state &state) {
    const auto cells = state.table ? state.table->split(line.plain) : std::nullopt;
    module_figures row;

    if (!cells || !take((*cells)[0], row.id) || !take((*cells)[1], row.name) ||
        !take((*cells)[2], row.domain) || !take((*cells)[3], row.data_mbps) ||
        !take_unless_zero((*cells)[4], row.efficiency_percent) ||
        !take((*cells)[5], row.bus_mbps) || !take((*cells)[6], row.ultra_percent) ||
        !take((*cells)[7], row.preultra_percent)) {
        return false;
    }
    add_row(state.report, std::move(row));
    return true;
}

// Of a bar's blanks only the frame counts.
bool take_bar(const report_line &line, total_state &state) {
    scanner text(line.plain);
    bar_figures bar;

    if (!text.name(bar.name, bar_name, longest_name, " :") ||
        !text.number(bar.bus_mbps, bar_rate) || !text.skip(" (MB/s)") ||
        !text.number(bar.usage_permille, bar_share) || !text.skip(" o/oo[") ||
        !line.plain.ends_with(']')) {
        return false;
    }
    state.report.bars.push_back(std::move(bar));
    return true;
}

bool take_frame(const report_line &line, total_state &state) {
    const auto titles = split_framed(line.plain, line.plain);
    if (!titles ||
        (*titles != fields{"Width", "Clock"} && *titles != fields{"TotalBW", "BusBW", "Slack"})) {
        return false;
    }
    state.frame = line.plain;
    return true;
}

bool take_dram(const fields &cells, dram_figures &dram) {
    dram_figures found;
    if (cells.size() != 2 || !take(cells[0], found.width_bits) ||
        !take(cells[1], found.clock_mtps)) {
        return false;
    }
    dram = found;
    return true;
}

bool take_usage(const fields &cells, usage_figures &usage) {
    usage_figures found = usage;
    if (cells.size() != 3 || !take(cells[0], found.total_mbps) || !take(cells[1], found.bus_mbps) ||
        !take(cells[2], found.slack_mbps)) {
        return false;
    }
    usage = found;
    return true;
}

bool take_percents(const fields &cells, usage_figures &usage) {
    usage_figures found = usage;
    if (cells.size() != 3 || cells[0] != "100%" || !cells[1].ends_with('%') ||
        !cells[2].ends_with('%') || !take(cells[1].substr(0, cells[1].size() - 1), found.percent) ||
        !take(cells[2].substr(0, cells[2].size() - 1), found.slack_percent)) {
        return false;
    }
    usage = found;
    return true;
}

bool take_framed(const report_line &line, total_state &state) {
    const auto cells = split_framed(line.plain, state.frame);
    return cells &&
           (take_dram(*cells, state.report.dram) || take_usage(*cells, state.report.usage) ||
            take_percents(*cells, state.report.usage));
}

bool take_status(const report_line &line, total_state &state) {
    static constexpr struct {
        const char *line;
        const char *status;
    } verdicts[] = {{"Status:    SAFE   ", "SAFE"},
                    {"Status:   WARNING  ", "WARNING"},
                    {"Status:   DANGER  ", "DANGER"}};

    for (const auto &each : verdicts) {
        if (line.plain == each.line) {
            state.report.status = each.status;
            return true;
        }
    }
    return false;
}

bool take_simple_row(const report_line &line, total_state &state) {
    scanner text(line.plain);
    module_figures row;

    if (!text.name(row.name, simple_name, longest_name, ": ") ||
        !text.number(row.bus_mbps, simple_rate) || !text.skip(" MB/s") || !text.at_end()) {
        return false;
    }
    state.report.view = "simple";
    add_row(state.report, std::move(row));
    return true;
}

template <class number>
bool take_part(std::string_view line, const char *name, number &mbps, number &percent) {
    scanner text(line);
    label found;
    number rate;
    number share;

    if (!text.name(found, simple_name, longest_name, ": ") || found != name ||
        !text.number(rate, simple_rate) || !text.skip(" MB/s (") ||
        !text.number(share, simple_percent) || !text.skip("%)") || !text.at_end()) {
        return false;
    }
    mbps = rate;
    percent = share;
    return true;
}

bool take_simple_usage(const report_line &line, total_state &state) {
    usage_figures &usage = state.report.usage;
    figure all;
    if (!take_part(line.plain, "Total", usage.total_mbps, all) &&
        !take_part(line.plain, "Useage", usage.bus_mbps, usage.percent) &&
        !take_part(line.plain, "Slack", usage.slack_mbps, usage.slack_percent)) {
        return false;
    }
    state.report.view = "simple";
    return true;
}

constexpr line_handler<total_state> total_handlers[] = {
    take_fixed,  take_titles,     take_row,          take_bar,    take_frame,
    take_framed, take_simple_row, take_simple_usage, take_status,
};

}  // namespace

total_report parse_total(const reading &from) {
    total_report report = parse_with(total_handlers, from);

    apply_log(report, from.log);
    return report;
}

}  // namespace ovk
