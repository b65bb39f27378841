// SPDX-License-Identifier: GPL-2.0-only
// Attribute bw_bus: usage of the theoretical DRAM bandwidth, for scripts.
#include "base/arithmetic.h"
#include "base/handler.h"
#include "core/config.h"
#include "core/report_buffer.h"
#include "report/emi_gather.h"

static constexpr u64 usage_max = 100;

static u64 usage_percent(const emi_result &all) {
    u64 bus_bw = 0;

    for (u32 port = 0; port < emi_port_cnt; port++) {
        bus_bw += emi_bus_bandwidth(all.ports[port]);
    }
    const u64 usage = divide_or_zero(bus_bw * 100, total_bw);
    return usage < usage_max ? usage : usage_max;
}

// A script takes a figure for the truth: there is none when a part of the ports was not counted.
SHOW_HANDLER(bw_bus) {
    emi_results results{};
    report_page page(buf);

    const int error = emi_gather(results);
    if (error != 0) {
        return error;
    }
    if (results.timed_out) {
        return -ETIMEDOUT;
    }
    page.put("%llu%%\n", usage_percent(results.records[emi_cnt]));
    return page.length();
}
