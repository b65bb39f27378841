// SPDX-License-Identifier: GPL-2.0-only
// The bandwidth monitor of an SMI larb, mapped by the caller. Each run sleeps for `time` ms; what
// it has counted is left to be read.
#pragma once

#include "base/register_window.h"
#include "platform/kernel.h"

// Counts all that passes at up to larb_ports_at_once ports.
void larb_monitor_ports_run(const register_window &larb, const u32 *ports, u32 count, u32 time);

// Bytes that the last of these runs counted at its k-th port.
u32 larb_monitor_bytes(const register_window &larb, u32 k);

// Watches one port in one of larb_mode_read, larb_mode_write and larb_mode_command_period.
void larb_monitor_port_run(const register_window &larb, u32 port, u32 mode, u32 time);

// MB/s of the last of these runs in one direction. The product of count and unit keeps 32 bits.
u64 larb_monitor_bandwidth(const register_window &larb, u32 time);

// Longest command period of the last of these runs, ns; 0 without a clock.
u32 larb_monitor_period(const register_window &larb);
