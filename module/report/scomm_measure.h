// SPDX-License-Identifier: GPL-2.0-only
// Measures what the SMI common report shows.
#pragma once

#include "core/memory.h"
#include "core/mon_cfg.h"
#include "platform/kernel.h"

// One SMI common. Every array has an entry for each of its ports, outputs first.
struct comm_result {
    u32 id;  // number in the node's name
    u32 in_cnt;
    u32 out_cnt;
    owned_array<u64> r_bw;     // MB/s
    owned_array<u32> max_rcp;  // longest read command period, ns
    owned_array<u64> w_bw;     // MB/s
    owned_array<u32> max_wcp;  // longest write command period, ns
    owned_array<u32> r_ultra;  // percent; from here on filled for inputs only
    owned_array<u32> r_pultra;
    owned_array<u32> effi;   // percent
    owned_array<u32> burst;  // average, in the monitor's own unit
};

// The SMI commons of one read, in the order of their numbers.
struct scomm_results {
    owned_array<owned<comm_result>> commons;
    u32 found;  // of them; the chip may have fewer than it claims
};

// Finds the SMI commons and makes room for what they carry. False: memory is short or a port count
// is missing; the latter has been logged.
bool scomm_prepare(scomm_results &results);

// Measures one SMI common after another, every port in both directions for cfg.time ms each. One
// that can't be had is logged and ends the measurement: it and those behind it keep zeros.
void scomm_measure(measure_cfg &cfg, scomm_results &results);
