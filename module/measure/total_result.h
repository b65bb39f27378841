// SPDX-License-Identifier: GPL-2.0-only
// What one read of the total report learns about one module.
#pragma once

#include "base/arithmetic.h"
#include "base/memory.h"
#include "measure/effi_monitor.h"
#include "platform/kernel.h"

// Bandwidths are in bytes per millisecond while the module is measured and in MB/s once it is
// finished. Priority counts are out of 1024 requests.
struct total_result {
    u64 bus_bw;                // what data_bw costs on the bus, from each port's efficiency
    u64 data_bw;               // sum over the ports
    owned_array<u64> port_bw;  // of each port of all the module's larbs, bytes per millisecond
    u32 larb_port_cnt;         // entries of port_bw and effi
    u32 module_effi;           // percent
    owned_array<u32> effi;     // of each port of all the module's larbs, percent
    u32 ultra_pct;             // percent, weighted by bandwidth
    u32 pultra_pct;
    u64 ultra;  // counts of the latest efficiency measurement
    u64 pultra;
    u64 ultra_sum;  // sums over the ports of count times bandwidth
    u64 pultra_sum;
};

// Adds a port's bandwidth (bytes per millisecond) with what its efficiency monitor found. Where
// nothing was measured only the data count; an efficiency of 0 that was measured adds no bus
// bandwidth, but has its priority counts.
inline void add_port(total_result &result, u64 bandwidth, const effi_sample &sample) {
    result.data_bw += bandwidth;
    if (!sample.measured) {
        return;
    }
    result.bus_bw += bus_bandwidth(bandwidth, sample.efficiency);
    result.ultra = sample.ultra;
    result.pultra = sample.pultra;
    result.ultra_sum += result.ultra * bandwidth;
    result.pultra_sum += result.pultra * bandwidth;
}
