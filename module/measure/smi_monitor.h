// SPDX-License-Identifier: GPL-2.0-only
// The bandwidth monitor of an SMI common, mapped by the caller.
#pragma once

#include "base/register_window.h"
#include "platform/kernel.h"
#include "registers/smi_common.h"

// Watches one port (outputs are numbered first) in one direction for `time` ms, sleeping. What it
// has counted is left to be read.
void smi_monitor_run_port(const register_window &common, u32 port, smi_direction direction,
                          u32 time);

// Bytes per millisecond that the last run of `time` ms counted; the product of count and unit keeps
// 32 bits.
u32 smi_monitor_bandwidth(const register_window &common, u32 time);

// Longest command period of the last run, ns; 0 without a clock.
u32 smi_monitor_period(const register_window &common);
