// SPDX-License-Identifier: GPL-2.0-only
// The members of the records, by name and in the order in which they are shown. `see` is called
// with the name and the value of each.
#pragma once

#include "ovk/report/figures.h"

namespace ovk {

template <class visitor>
void visit(const module_figures &of, visitor &&see) {
    see("id", of.id);
    see("name", of.name);
    see("domain", of.domain);
    see("data_mbps", of.data_mbps);
    see("efficiency_percent", of.efficiency_percent);
    see("bus_mbps", of.bus_mbps);
    see("ultra_percent", of.ultra_percent);
    see("preultra_percent", of.preultra_percent);
}

template <class visitor>
void visit(const bar_figures &of, visitor &&see) {
    see("name", of.name);
    see("bus_mbps", of.bus_mbps);
    see("usage_permille", of.usage_permille);
}

template <class visitor>
void visit(const dram_figures &of, visitor &&see) {
    see("width_bits", of.width_bits);
    see("clock_mtps", of.clock_mtps);
}

template <class visitor>
void visit(const usage_figures &of, visitor &&see) {
    see("total_mbps", of.total_mbps);
    see("bus_mbps", of.bus_mbps);
    see("percent", of.percent);
    see("slack_mbps", of.slack_mbps);
    see("slack_percent", of.slack_percent);
}

template <class visitor>
void visit(const second_sweep &of, visitor &&see) {
    see("start_ns", of.start_ns);
    see("end_ns", of.end_ns);
}

template <class visitor>
void visit(const total_report &of, visitor &&see) {
    see("view", of.view);
    see("simple_view", of.simple_view);
    see("modules", of.modules);
    see("sum", of.sum);
    see("bars", of.bars);
    see("dram", of.dram);
    see("usage", of.usage);
    see("status", of.status);
}

template <class visitor>
void visit(const larb_port_figures &of, visitor &&see) {
    see("port", of.port);
    see("outstanding_limit", of.outstanding_limit);
    see("force_ultra", of.force_ultra);
    see("force_preultra", of.force_preultra);
    see("read_mbps", of.read_mbps);
    see("write_mbps", of.write_mbps);
    see("max_period_ns", of.max_period_ns);
    see("burst", of.burst);
    see("efficiency_percent", of.efficiency_percent);
    see("ultra_percent", of.ultra_percent);
    see("preultra_percent", of.preultra_percent);
}

template <class visitor>
void visit(const larb_figures &of, visitor &&see) {
    see("larb", of.larb);
    see("ports", of.ports);
}

template <class visitor>
void visit(const traffic_sum &of, visitor &&see) {
    see("data_mbps", of.data_mbps);
    see("efficiency_percent", of.efficiency_percent);
    see("bus_mbps", of.bus_mbps);
}

template <class visitor>
void visit(const larb_report &of, visitor &&see) {
    see("module", of.module);
    see("supported", of.supported);
    see("larbs", of.larbs);
    see("sum", of.sum);
}

template <class visitor>
void visit(const common_port_figures &of, visitor &&see) {
    see("direction", of.direction);
    see("port", of.port);
    see("read_mbps", of.read_mbps);
    see("write_mbps", of.write_mbps);
    see("max_read_period_ns", of.max_read_period_ns);
    see("max_write_period_ns", of.max_write_period_ns);
    see("burst", of.burst);
    see("efficiency_percent", of.efficiency_percent);
    see("ultra_percent", of.ultra_percent);
    see("preultra_percent", of.preultra_percent);
}

template <class visitor>
void visit(const common_figures &of, visitor &&see) {
    see("common", of.common);
    see("ports", of.ports);
}

template <class visitor>
void visit(const scomm_report &of, visitor &&see) {
    see("commons", of.commons);
}

template <class visitor>
void visit(const emi_limits &of, visitor &&see) {
    see("bandwidth_limit", of.bandwidth_limit);
    see("read_timer", of.read_timer);
    see("write_timer", of.write_timer);
    see("read_outstanding", of.read_outstanding);
    see("write_outstanding", of.write_outstanding);
}

template <class visitor>
void visit(const emi_port_figures &of, visitor &&see) {
    see("port", of.port);
    visit(of.limits, see);
    see("data_mbps", of.data_mbps);
    see("efficiency_percent", of.efficiency_percent);
    see("burst", of.burst);
    see("bus_mbps", of.bus_mbps);
    see("latency_ns", of.latency_ns);
}

template <class visitor>
void visit(const emi_channel_figures &of, visitor &&see) {
    see("channel", of.channel);
    see("ports", of.ports);
}

template <class visitor>
void visit(const emi_report &of, visitor &&see) {
    see("view", of.view);
    see("channels", of.channels);
    see("sum", of.sum);
}

template <class visitor>
void visit(const bus_report &of, visitor &&see) {
    see("usage_percent", of.usage_percent);
}

template <class visitor>
void visit(const fifo_figures &of, visitor &&see) {
    see("id", of.id);
    see("module", of.module);
    see("name", of.name);
    see("preultra_threshold", of.preultra_threshold);
    see("preultra_masked", of.preultra_masked);
    see("ultra_threshold", of.ultra_threshold);
    see("ultra_masked", of.ultra_masked);
    see("urgent_threshold", of.urgent_threshold);
    see("urgent_masked", of.urgent_masked);
    see("not_done_count", of.not_done_count);
}

template <class visitor>
void visit(const fifo_report &of, visitor &&see) {
    see("fifos", of.fifos);
}

template <class visitor>
void visit(const larb_group &of, visitor &&see) {
    see("larb", of.larb);
    see("ports", of.ports);
}

template <class visitor>
void visit(const common_group &of, visitor &&see) {
    see("common", of.common);
    see("ports", of.ports);
}

template <class visitor>
void visit(const module_ports &of, visitor &&see) {
    see("id", of.id);
    see("name", of.name);
    see("domain", of.domain);
    see("emi_ports", of.emi_ports);
    see("larbs", of.larbs);
    see("commons", of.commons);
}

template <class visitor>
void visit(const larb_module &of, visitor &&see) {
    see("id", of.id);
    see("name", of.name);
}

template <class visitor>
void visit(const ports_report &of, visitor &&see) {
    see("modules", of.modules);
    see("larb_modules", of.larb_modules);
}

template <class visitor>
void visit(const emi_port_limits &of, visitor &&see) {
    see("channel", of.channel);
    see("port", of.port);
    visit(of.limits, see);
}

template <class visitor>
void visit(const larb_port_limit &of, visitor &&see) {
    see("larb", of.larb);
    see("port", of.port);
    see("outstanding_limit", of.outstanding_limit);
}

template <class visitor>
void visit(const cpu_range &of, visitor &&see) {
    see("scope", of.scope);
    see("start", of.start);
    see("end", of.end);
}

template <class visitor>
void visit(const limits_report &of, visitor &&see) {
    see("emi", of.emi);
    see("larbs", of.larbs);
    see("cpu_ranges", of.cpu_ranges);
}

}  // namespace ovk
