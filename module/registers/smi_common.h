// SPDX-License-Identifier: GPL-2.0-only
// An SMI common: its bandwidth monitor, and the paths that its inputs take.
#pragma once

#include "base/register_window.h"

inline constexpr register_block smi_common_block{
    "smi_common", KERN_ERR "[OVK_BW]Can't find SMI COMMON device base!!\n"};

inline constexpr u32 smi_monitor_run = 0x1a0;
inline constexpr u32 smi_monitor_clear = 0x1a4;
inline constexpr u32 smi_monitor_direction = 0x1ac;
inline constexpr u32 smi_monitor_port = 0x1b0;
inline constexpr u32 smi_monitor_port_shift = 4;
inline constexpr u32 smi_monitor_port_valid = 1u << 0;
inline constexpr u32 smi_monitor_count = 0x1cc;
inline constexpr u32 smi_counter_unit = 16;           // bytes
inline constexpr u32 smi_monitor_max_period = 0x1dc;  // of the last run, SMI clock cycles

enum smi_direction : u32 { SMI_READ = 0, SMI_WRITE = 1 };

// Two bits per input port, of which the lower one picks the path.
inline constexpr u32 smi_common_path_select = 0x220;
inline constexpr u32 smi_path_select_bits = 2;
