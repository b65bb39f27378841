// SPDX-License-Identifier: GPL-2.0-only
// What the chip is: DRAM parameters, clocks and block counts. Read once when the module loads and
// never changed afterwards.
#pragma once

#include "platform/kernel.h"

// Frequencies of the DRAM channels, as the DRAM controller module reports them.
struct dramc_info {
    u32 channel_cnt;  // entries of freq; 0 until a table was fetched
    u32 *freq;        // MT/s, 0 for a channel whose frequency is unknown
};
extern dramc_info _dramc_info;

extern u32 bus_width;     // bits
extern u32 dram_clock;    // MT/s
extern u32 dram_penalty;  // usage threshold, percent of total_bw
extern u32 emi_clock;     // MHz
extern u32 smi_clock;     // MHz
extern u32 total_bw;      // theoretical peak, MB/s

extern u32 emi_cnt;         // EMI channels
extern u32 emi_port_cnt;    // ports of each EMI channel, at most emi_ports_max
extern u32 smi_common_cnt;  // SMI commons
extern u32 emi_effi_mon;    // 1: efficiency monitors sit at the EMI ports

// Fetches the channel frequencies. Without any, or without memory for them, it only logs.
void ovk_bw_query_dramc();

// Reads node "dram_config" and works out total_bw. False: node or a property is missing.
bool ovk_bw_setup_dram_config();

// Reads node "emi_arch". False: node or a property is missing.
bool ovk_bw_setup_emi_arch_config();

// Frees the channel frequencies.
void ovk_bw_release_dramc();
