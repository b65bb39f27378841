// SPDX-License-Identifier: GPL-2.0-only
// The reports of the memory interface: by port, and of the bus as a whole.
#include <cerrno>

#include "ovk/report/doubts.h"
#include "ovk/report/parse.h"
#include "ovk/report/parsing.h"

namespace ovk {

namespace {

constexpr const char *legend[] = {
    "BW_LMT; RD/WR_TIMER; RD/WR_OSTD: Bandwidth info.(HEX)",
    "DATA_BW: Data Bandwidth (MB/s)",
    "BUS_BW: Bus Bandwidth (MB/s)",
    "EFFI: Efficiency (%)",
    "LATENCY: Average latency (ns)",
};

// From here on, the register of a port's latencies is another port's count.
constexpr std::uint64_t ports_with_latency = 8;

struct emi_state {
    emi_report report;
    std::optional<columns> table = {};
    bool has_sum = false;
    bool at_gap = false;

    static constexpr bool sure_of_end = false;
    bool ended() const { return at_gap && (has_sum || report.view == "detail"); }
};

bool take_fixed(const report_line &line, emi_state &state) {
    state.at_gap = is_blank(line.plain);
    return state.at_gap || starts_report(line.plain) ||
           std::find(std::begin(legend), std::end(legend), line.plain) != std::end(legend);
}

bool take_channel(const report_line &line, emi_state &state) {
    emi_channel_figures channel;
    const bool all = line.plain == "CENTRAL_EMI ALL";
    if (!all && !takes_number_behind(line.plain, "CENTRAL_EMI ", channel.channel)) {
        return false;
    }
    state.report.view = all ? "total" : "detail";
    state.report.channels.push_back(std::move(channel));
    state.table.reset();
    return true;
}

bool take_titles(const report_line &line, emi_state &state) {
    const auto found =
        state.report.view == "total"
            ? columns::under(line.plain,
                             {"PORT", "DATA_BW", "EFFI(%)", "BURST", "BUS_BW", "LATENCY"})
            : columns::under(line.plain, {"PORT", "BW_LMT", "RTIMER", "WTIMER", "ROSTD", "WOSTD",
                                          "DATA_BW", "EFFI(%)", "BURST", "BUS_BW", "LATENCY"});
    if (!found || state.report.channels.empty()) {
        return false;
    }
    state.table = found;
    return true;
}

std::optional<fields> cells_of(const report_line &line, const emi_state &state) {
    return state.table ? state.table->split(line.plain) : std::nullopt;
}

bool take_limits(const fields &cells, emi_limits &limits) {
    return take(cells[1], limits.bandwidth_limit, 16) && take(cells[2], limits.read_timer, 16) &&
           take(cells[3], limits.write_timer, 16) && take(cells[4], limits.read_outstanding, 16) &&
           take(cells[5], limits.write_outstanding, 16);
}

// The columns that both views have last.
bool take_traffic(const fields &cells, emi_port_figures &port) {
    const std::size_t first = cells.size() - 5;
    return take(cells[first], port.data_mbps) &&
           take_unless_zero(cells[first + 1], port.efficiency_percent) &&
           take(cells[first + 2], port.burst) && take(cells[first + 3], port.bus_mbps) &&
           take(cells[first + 4], port.latency_ns);
}

bool take_port(const report_line &line, emi_state &state) {
    const auto cells = cells_of(line, state);
    emi_port_figures port;

    if (!cells || !take((*cells)[0], port.port) ||
        (state.report.view == "detail" && !take_limits(*cells, port.limits)) ||
        !take_traffic(*cells, port)) {
        return false;
    }
    forget_free_data(port.data_mbps, port.bus_mbps);
    if (*port.port >= ports_with_latency) {
        port.latency_ns.reset();
    }
    state.report.channels.back().ports.push_back(port);
    return true;
}

bool is_dash(std::string_view cell) {
    label text;
    return take(cell, text) && text == "-";
}

bool take_sum(const report_line &line, emi_state &state) {
    const auto cells = cells_of(line, state);
    label title;
    traffic_sum sum;

    if (!cells || state.report.view != "total" || !take((*cells)[0], title) || title != "ALL" ||
        !take((*cells)[1], sum.data_mbps) ||
        !take_unless_zero((*cells)[2], sum.efficiency_percent) || !is_dash((*cells)[3]) ||
        !take((*cells)[4], sum.bus_mbps) || !is_dash((*cells)[5])) {
        return false;
    }
    forget_free_data(sum.data_mbps, sum.bus_mbps);
    state.report.sum = sum;
    state.has_sum = true;
    return true;
}

constexpr line_handler<emi_state> emi_handlers[] = {take_fixed, take_channel, take_titles,
                                                    take_port, take_sum};

struct bus_state {
    bus_report report;

    static constexpr bool sure_of_end = true;
    bool ended() const { return report.usage_percent.has_value(); }
};

bool take_usage(const report_line &line, bus_state &state) {
    scanner text(line.raw);
    figure percent;
    if (!text.number(percent) || !text.skip("%") || !text.at_end()) {
        return false;
    }
    state.report.usage_percent = percent;
    return true;
}

constexpr line_handler<bus_state> bus_handlers[] = {take_usage};

}  // namespace

emi_report parse_emi(const reading &from) {
    emi_report report = parse_with(emi_handlers, from);

    apply_log(report, from.log);
    return report;
}

// An unfinished run is an error of the read here, so that nobody takes it for an idle bus.
bus_report parse_bus(const reading &from) {
    bus_report report = parse_with(bus_handlers, from);

    apply_log(report, from.log);
    if (from.came.error == ETIMEDOUT) {
        report.head.reasons = {"time-out of the EMI monitor"};
    }
    return report;
}

}  // namespace ovk
