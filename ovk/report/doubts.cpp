// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/doubts.h"

#include <algorithm>
#include <map>

namespace ovk {

namespace {

constexpr const char *emi_time_out = "[OVK_BW]EMI monitor time out";
constexpr const char *no_channel = "[OVK_BW]Can't find EMI device base!!";
constexpr const char *no_dispatch = "[OVK_BW]Can't find EMI_DISPATCH device base!!";
constexpr const char *no_larb = "[OVK_BW]Can't find SMI LARB device base!!";

constexpr const char *doubts[] = {
    emi_time_out,
    no_channel,
    no_dispatch,
    no_larb,
    "[OVK_BW]Can't find SMI COMMON device base!!",
    "[OVK_BW]Can't find effi_monitor device base!!",
    "[OVK_BW]Can't get smi common port info!!",
    "[OVK_BW]Can't malloc comm result!!",
};

// Ports that the EMI measures in one run.
constexpr std::uint64_t emi_group = 6;

std::size_t count(const kernel_log &log, std::string_view message) {
    return log ? std::count(log->begin(), log->end(), message) : 0;
}

bool has(const kernel_log &log, std::string_view message) {
    return count(log, message) != 0;
}

// Names every message once. False: there is none.
bool name_doubts(report_head &head, const kernel_log &log) {
    bool any = false;

    for (const char *doubt : doubts) {
        if (has(log, doubt)) {
            head.incomplete(std::string("kernel log: ") + doubt);
            any = true;
        }
    }
    return any;
}

// Those that the DRAM controller counts.
bool is_dram_module(const module_figures &module) {
    return module.name == "CPU" || module.name == "GPU" || module.name == "REF_EMI";
}

void forget(module_figures &module) {
    module = {.id = module.id, .name = module.name, .domain = module.domain};
}

// Which of them timed out is not in the log; one that shows traffic did not.
std::vector<module_figures *> suspects(total_report &report, const kernel_log &log) {
    std::vector<module_figures *> found;

    for (module_figures &module : report.modules) {
        const bool silent = module.data_mbps.value_or(0) == 0 && module.bus_mbps.value_or(0) == 0;
        if (is_dram_module(module) && (silent || has(log, no_dispatch))) {
            found.push_back(&module);
        }
    }
    return found;
}

// The reference is no part of the sum.
bool only_reference_is_missing(const std::vector<module_figures *> &found, const kernel_log &log) {
    return found.size() == 1 && found.front()->name == "REF_EMI" && count(log, emi_time_out) == 1 &&
           std::count_if(log->begin(), log->end(), [](const std::string &line) {
               return std::find(std::begin(doubts), std::end(doubts), line) != std::end(doubts);
           }) == 1;
}

void forget_sum(total_report &report) {
    forget(report.sum);
    report.usage = {.total_mbps = report.usage.total_mbps};
    report.status.reset();
}

void forget(emi_port_figures &port) {
    port = {.port = port.port, .limits = port.limits};
}

// A group without any traffic may be one whose run timed out. The last one's run tells all
// latencies.
void forget_idle_groups(emi_channel_figures &channel) {
    std::map<std::uint64_t, bool> idle;

    for (const emi_port_figures &port : channel.ports) {
        const auto group = idle.try_emplace(*port.port / emi_group, true).first;
        group->second = group->second && port.data_mbps == 0U;
    }
    for (emi_port_figures &port : channel.ports) {
        if (idle.at(*port.port / emi_group)) {
            forget(port);
        }
        if (idle.rbegin()->second) {
            port.latency_ns.reset();
        }
    }
}

bool is_silent(const larb_figures &larb) {
    return std::all_of(larb.ports.begin(), larb.ports.end(), [](const larb_port_figures &port) {
        return port.read_mbps == 0U && port.write_mbps == 0U && port.max_period_ns == 0U &&
               port.outstanding_limit == 0U;
    });
}

void forget(larb_figures &larb) {
    for (larb_port_figures &port : larb.ports) {
        port = {.port = port.port};
    }
}

}  // namespace

void apply_log(total_report &report, const kernel_log &log) {
    if (!name_doubts(report.head, log)) {
        return;
    }
    const bool dram = has(log, emi_time_out) || has(log, no_channel) || has(log, no_dispatch);
    const auto found = dram ? suspects(report, log) : std::vector<module_figures *>();
    for (module_figures *module : found) {
        forget(*module);
    }
    if (!only_reference_is_missing(found, log)) {
        forget_sum(report);
    }
}

// The larb that could not be had, and those behind it, show zeros.
void apply_log(larb_report &report, const kernel_log &log) {
    if (!name_doubts(report.head, log)) {
        return;
    }
    report.sum = {.data_mbps = has(log, no_larb) ? figure() : report.sum.data_mbps};
    if (has(log, no_larb)) {
        const auto last = std::find_if_not(report.larbs.rbegin(), report.larbs.rend(), is_silent);
        std::for_each(report.larbs.rbegin(), last, [](larb_figures &larb) { forget(larb); });
    }
}

void apply_log(scomm_report &report, const kernel_log &log) {
    name_doubts(report.head, log);
}

// Without the dispatcher, the first channel alone has been told to count.
void apply_log(emi_report &report, const kernel_log &log) {
    if (!name_doubts(report.head, log)) {
        return;
    }
    const bool counted = !has(log, emi_time_out) && !has(log, no_dispatch);
    report.sum = {.data_mbps = counted ? report.sum.data_mbps : figure()};
    for (emi_channel_figures &channel : report.channels) {
        if (has(log, no_dispatch) && channel.channel != 0U) {
            std::for_each(channel.ports.begin(), channel.ports.end(),
                          [](emi_port_figures &port) { forget(port); });
        } else if (has(log, emi_time_out)) {
            forget_idle_groups(channel);
        }
    }
}

void apply_log(bus_report &report, const kernel_log &log) {
    if (name_doubts(report.head, log)) {
        report.usage_percent.reset();
    }
}

}  // namespace ovk
