// SPDX-License-Identifier: GPL-2.0-only
// The bandwidth monitor of an SMI common.
#pragma once

#include "core/mon_cfg.h"
#include "measure/total_result.h"
#include "platform/kernel.h"

inline constexpr u32 smi_monitor_run = 0x1a0;
inline constexpr u32 smi_monitor_clear = 0x1a4;
inline constexpr u32 smi_monitor_direction = 0x1ac;
inline constexpr u32 smi_monitor_port = 0x1b0;
inline constexpr u32 smi_monitor_port_shift = 4;
inline constexpr u32 smi_monitor_port_valid = 1u << 0;
inline constexpr u32 smi_monitor_count = 0x1cc;
inline constexpr u32 smi_monitor_max_period = 0x1dc;  // of the last run, SMI clock cycles
inline constexpr u32 smi_counter_unit = 16;           // bytes

enum smi_direction : u32 { SMI_READ = 0, SMI_WRITE = 1 };

// Runs the monitor of a mapped SMI common on one of its ports (outputs are numbered first) in one
// direction. Sleeps `time` ms. The counters are left to be read.
void smi_monitor_measure(const register_window &common, u32 port, smi_direction direction,
                         u32 time);

// Bytes per millisecond that the last run of `time` ms counted; the product of count and unit
// keeps 32 bits.
u32 smi_monitor_bandwidth(const register_window &common, u32 time);

// Number of input and output ports of SMI common `id`. 0, or -1 when the node or a property is
// missing; an output is written only when its property was read.
s32 get_smi_common_port_info(u32 *inputs, u32 *outputs, s32 id);

// Measures every port that module cfg.module_id uses on its SMI common number cfg.common_idx,
// whose window is cfg.base[0], for cfg.time ms in each direction, and adds what it finds to
// `result` (bytes per millisecond).
void comm_bw_measure(const measure_cfg &cfg, total_result &result);
