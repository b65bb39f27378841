// SPDX-License-Identifier: GPL-2.0-only
// The bandwidth monitor of the EMI channels. It is programmed through channel 0, for all channels
// at once by broadcast mode, and read channel by channel. A run lasts `time` ms.
#pragma once

#include "measure/emi_channels.h"
#include "platform/kernel.h"

// Waits for the end of a run, yielding the processor in between. False: not done after twice the
// time and 100 ms, which has been logged, or killed while waiting.
bool emi_wait_done(const register_window &channel0, u32 time);

// One count: of all traffic, or of the ports in slot 0.
enum class dram_traffic { cpu, gpu, all };
void emi_start_count(const register_window &channel0, dram_traffic traffic, u32 time);
u32 emi_read_count(const register_window &channel, dram_traffic traffic);  // emi_counter_unit
void emi_stop_count(const register_window &channel0, bool done);

// A count for each of up to six ports. Enabled and cleaned up around all groups, and started in two
// steps, between which what has to run beside it is started.
struct emi_port_group {
    u32 first;
    u32 count;
};
void emi_enable_ports(const register_window &channel0);
void emi_start_ports(const register_window &channel0, const emi_port_group &group, u32 time);
void emi_started_ports();
u64 emi_read_port(const register_window &channel, u32 slot, u32 time);  // MB/s
void emi_clean_up_ports(const register_window &channel0);

// Average latency of a port's requests in the last run, ns; 0 without requests or a clock.
u64 emi_latency(const register_window &channel, u32 port);
