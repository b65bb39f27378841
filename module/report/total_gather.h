// SPDX-License-Identifier: GPL-2.0-only
// Measures what the total report shows.
#pragma once

#include "base/memory.h"
#include "base/shared.h"
#include "core/module_list.h"
#include "core/mon_cfg.h"
#include "measure/total_result.h"
#include "platform/kernel.h"

// The results of one read, indexed like mlist.
struct total_results {
    owned_array<owned<total_result>> modules;
    total_result unlisted_sum;  // the sums, when the list has no "SUM" entry
};

// DRAM usage, in MB/s and percent of total_bw.
struct total_usage {
    u64 bus_bw;
    u64 percent;
    s64 slack;  // negative: over-subscribed
    s64 slack_percent;
};

// The entry into which all others are added.
total_result &sum_result(total_results &results);

// True for modules that the processing option leaves out of the tables.
bool is_left_out(const bw_module &module);

inline bool is_enabled(const bw_module &module) {
    return READ_ONCE(module.enable) != 0;
}

// Measures every enabled module and adds them up; `cfg` is this read's own and says how far it is.
// Sleeps for the monitoring time of every group of four larb ports, SMI common port and direction,
// and DRAM-controller module, and for every efficiency measurement. 0, -ENOMEM, or -EINTR when
// killed.
int total_gather(mon_cfg &cfg, total_results &results);

// What the SUM result means against total_bw.
total_usage usage_of(const total_result &sum);
