// SPDX-License-Identifier: GPL-2.0-only
// Measures what the larb report shows.
#pragma once

#include "core/memory.h"
#include "core/module_list.h"
#include "core/mon_cfg.h"
#include "platform/kernel.h"

// One larb of the module; every array has an entry for each of its ports.
struct larb_stat {
    u32 larb_idx;  // position among the module's larbs
    u64 data_bw;   // read and write bandwidth of all ports, MB/s
    u64 bus_bw;    // what it costs on the bus, MB/s
    owned_array<u64> r_bw;
    owned_array<u64> w_bw;
    owned_array<u32> max_cp;  // longest command period, ns
    owned_array<u32> ostdl;   // outstanding limit
    owned_array<u8> force_ultra;
    owned_array<u8> force_pultra;
    owned_array<u32> ultra_ratio;  // percent
    owned_array<u32> pultra_ratio;
    owned_array<u32> effi;   // percent
    owned_array<u32> burst;  // average, in the monitor's own unit
};

using larb_stats = owned_array<owned<larb_stat>>;

// Gives each of the module's larbs its record; `stats` has one entry for each. False: no memory.
bool larb_report_prepare(const bw_module &module, larb_stats &stats);

// Measures every port of every larb in three phases (read, write, command period) of `time` ms. A
// larb that can't be had is logged and ends the measurement: it and those behind it keep zeros.
void larb_report_measure(const bw_module &module, u32 time, larb_stats &stats);
