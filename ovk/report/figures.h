// SPDX-License-Identifier: GPL-2.0-only
// What the reports say, as records. A figure that a report does not have is empty, never 0. Units
// stand in the names; docs/ovk.md tells what each one means.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ovk {

using figure = std::optional<std::uint64_t>;
using signed_figure = std::optional<std::int64_t>;
using flag = std::optional<bool>;
using label = std::optional<std::string>;  // bytes as they came, which need not be UTF-8

// What all reports have.
struct report_head {
    bool complete = true;
    std::vector<std::string> reasons = {};  // why it is not complete
    std::int64_t start_ns = 0;
    std::int64_t end_ns = 0;
    bool log_seen = true;                    // false: a time-out could not have been noticed
    std::vector<std::string> unparsed = {};  // lines that do not fit

    void incomplete(const std::string &reason) {
        complete = false;
        reasons.push_back(reason);
    }
};

struct module_figures {
    figure id = {};
    label name = {};
    label domain = {};
    figure data_mbps = {};
    figure efficiency_percent = {};
    figure bus_mbps = {};
    figure ultra_percent = {};
    figure preultra_percent = {};
};

struct bar_figures {
    label name = {};
    figure bus_mbps = {};
    figure usage_permille = {};
};

struct dram_figures {
    figure width_bits = {};
    figure clock_mtps = {};
};

struct usage_figures {
    figure total_mbps = {};
    figure bus_mbps = {};
    figure percent = {};
    signed_figure slack_mbps = {};
    signed_figure slack_percent = {};
};

// When the sweep was made that tells what the first had no room for.
struct second_sweep {
    signed_figure start_ns = {};
    signed_figure end_ns = {};
};

struct total_report {
    report_head head = {};
    label view = {};  // "full" or "simple"
    second_sweep simple_view = {};
    std::vector<module_figures> modules = {};  // all but SUM
    module_figures sum = {};
    std::vector<bar_figures> bars = {};
    dram_figures dram = {};
    usage_figures usage = {};
    label status = {};  // "SAFE", "WARNING" or "DANGER"
};

struct larb_port_figures {
    figure port = {};
    figure outstanding_limit = {};
    flag force_ultra = {};
    flag force_preultra = {};
    figure read_mbps = {};
    figure write_mbps = {};
    figure max_period_ns = {};
    figure burst = {};
    figure efficiency_percent = {};
    figure ultra_percent = {};
    figure preultra_percent = {};
};

struct larb_figures {
    figure larb = {};
    std::vector<larb_port_figures> ports = {};
};

struct traffic_sum {
    figure data_mbps = {};
    figure efficiency_percent = {};
    figure bus_mbps = {};
};

struct larb_report {
    report_head head = {};
    label module = {};
    flag supported = {};  // false: a module without larbs
    std::vector<larb_figures> larbs = {};
    traffic_sum sum = {};
};

struct common_port_figures {
    label direction = {};  // "in" or "out"
    figure port = {};
    figure read_mbps = {};
    figure write_mbps = {};
    figure max_read_period_ns = {};
    figure max_write_period_ns = {};
    figure burst = {};
    figure efficiency_percent = {};
    figure ultra_percent = {};
    figure preultra_percent = {};
};

struct common_figures {
    figure common = {};
    std::vector<common_port_figures> ports = {};
};

struct scomm_report {
    report_head head = {};
    std::vector<common_figures> commons = {};
};

struct emi_limits {
    figure bandwidth_limit = {};
    figure read_timer = {};
    figure write_timer = {};
    figure read_outstanding = {};
    figure write_outstanding = {};
};

struct emi_port_figures {
    figure port = {};
    emi_limits limits = {};  // of the detail view
    figure data_mbps = {};
    figure efficiency_percent = {};
    figure burst = {};
    figure bus_mbps = {};
    figure latency_ns = {};
};

struct emi_channel_figures {
    figure channel = {};  // none: all channels together
    std::vector<emi_port_figures> ports = {};
};

struct emi_report {
    report_head head = {};
    label view = {};  // "total" or "detail"
    std::vector<emi_channel_figures> channels = {};
    traffic_sum sum = {};  // of the total view
};

struct bus_report {
    report_head head = {};
    figure usage_percent = {};
};

struct fifo_figures {
    figure id = {};
    label module = {};
    label name = {};
    figure preultra_threshold = {};
    flag preultra_masked = {};
    figure ultra_threshold = {};
    flag ultra_masked = {};
    figure urgent_threshold = {};
    flag urgent_masked = {};
    figure not_done_count = {};
};

struct fifo_report {
    report_head head = {};
    std::vector<fifo_figures> fifos = {};
};

struct larb_group {
    figure larb = {};
    std::vector<std::uint64_t> ports = {};
};

struct common_group {
    figure common = {};
    std::vector<std::uint64_t> ports = {};
};

struct module_ports {
    figure id = {};
    label name = {};
    label domain = {};  // where it has a colour of its own
    std::vector<std::uint64_t> emi_ports = {};
    std::vector<larb_group> larbs = {};
    std::vector<common_group> commons = {};
};

struct larb_module {
    figure id = {};
    label name = {};
};

struct ports_report {
    report_head head = {};
    std::vector<module_ports> modules = {};
    std::vector<larb_module> larb_modules = {};  // those that the larb report can be made of
};

struct emi_port_limits {
    figure channel = {};
    figure port = {};
    emi_limits limits = {};
};

struct larb_port_limit {
    figure larb = {};
    figure port = {};
    figure outstanding_limit = {};
};

struct cpu_range {
    figure scope = {};
    figure start = {};
    figure end = {};  // the last byte
};

struct limits_report {
    report_head head = {};
    std::vector<emi_port_limits> emi = {};
    std::vector<larb_port_limit> larbs = {};
    std::vector<cpu_range> cpu_ranges = {};
};

}  // namespace ovk
