// SPDX-License-Identifier: GPL-2.0-only
// Measures what the larb report shows.
#pragma once

#include "base/memory.h"
#include "core/module_list.h"
#include "platform/kernel.h"

// One port of a larb.
struct larb_port {
    u64 r_bw;  // MB/s
    u64 w_bw;
    u32 max_cp;  // longest command period, ns
    u32 ostdl;   // outstanding limit
    u8 force_ultra;
    u8 force_pultra;
    u32 ultra_ratio;  // percent
    u32 pultra_ratio;
    u32 effi;   // percent
    u32 burst;  // average, in the monitor's own unit
};

// One larb of the module.
struct larb_stat {
    u64 data_bw;  // read and write bandwidth of all ports, MB/s
    u64 bus_bw;   // what it costs on the bus, MB/s
    owned_array<larb_port> ports;
};

using larb_stats = owned_array<owned<larb_stat>>;

// Gives each of the module's larbs its record; `stats` has one entry for each. False: no memory.
bool larb_prepare(const bw_module &module, larb_stats &stats);

// Measures every port of every larb in three phases (read, write, command period) of `time` ms. A
// larb that can't be had is logged and ends the measurement: it and those behind it keep zeros.
void larb_gather(const bw_module &module, u32 time, larb_stats &stats);
