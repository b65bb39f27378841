// SPDX-License-Identifier: GPL-2.0-only
// Attribute bw_bus: usage of the theoretical DRAM bandwidth, for scripts.
#include "core/config.h"
#include "core/handlers.h"
#include "core/report_buffer.h"
#include "measure/arithmetic.h"
#include "report/emi_gather.h"

static constexpr u64 usage_max = 100;

static u64 usage_percent(const emi_result &all) {
    u64 bus_bw = 0;

    for (u32 port = 0; port < emi_port_cnt; port++) {
        bus_bw += emi_bus_bandwidth(all, port);
    }
    const u64 usage = divide_or_zero(bus_bw * 100, total_bw);
    return usage < usage_max ? usage : usage_max;
}

// A script takes a figure for the truth: there is none when a part of the ports was not counted.
extern "C" ssize_t bw_bus_show(device_driver *, char *buf) {
    emi_results results{};
    u32 len = 0;

    const ssize_t error = emi_gather(results);
    if (error != 0) {
        return error;
    }
    if (results.timed_out) {
        return -ETIMEDOUT;
    }
    putbuf(buf, &len, "%llu%%\n", usage_percent(results.records[emi_cnt]));
    return len;
}
