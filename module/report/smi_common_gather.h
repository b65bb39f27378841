// SPDX-License-Identifier: GPL-2.0-only
// Measures what the SMI common report shows.
#pragma once

#include "base/memory.h"
#include "platform/kernel.h"

// One port of an SMI common.
struct comm_port {
    u64 r_bw;     // MB/s
    u32 max_rcp;  // longest read command period, ns
    u64 w_bw;     // MB/s
    u32 max_wcp;  // longest write command period, ns
    u32 r_ultra;  // percent; from here on filled for inputs only
    u32 r_pultra;
    u32 effi;   // percent
    u32 burst;  // average, in the monitor's own unit
};

// One SMI common.
struct comm_result {
    u32 id;  // number in the node's name
    u32 in_cnt;
    u32 out_cnt;
    owned_array<comm_port> ports;  // outputs first
};

// The SMI commons of one read, in the order of their numbers.
struct smi_common_results {
    owned_array<owned<comm_result>> commons;
    u32 found;  // of them; the chip may have fewer than it claims
};

// Finds the SMI commons and makes room for what they carry. False: memory is short or a port count
// is missing; the latter has been logged.
bool smi_common_prepare(smi_common_results &results);

// Measures one SMI common after another, every port in both directions for `time` ms each. One that
// can't be had is logged and ends the measurement: it and those behind it keep zeros.
void smi_common_gather(u32 time, smi_common_results &results);

inline bool has_traffic(const comm_port &port) {
    return port.r_bw != 0 || port.w_bw != 0;
}
