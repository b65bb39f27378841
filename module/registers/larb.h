// SPDX-License-Identifier: GPL-2.0-only
// An SMI larb: its bandwidth monitor and the quality of service of its ports.
#pragma once

#include "base/register_window.h"

inline constexpr register_block larb_block{"larb",
                                           KERN_ERR "[OVK_BW]Can't find SMI LARB device base!!\n"};

inline constexpr u32 larb_monitor_run = 0x400;
inline constexpr u32 larb_monitor_clear = 0x404;
inline constexpr u32 larb_monitor_ports = 0x408;  // one port id, or up to four, a byte each
inline constexpr u32 larb_bits_per_port = 8;
inline constexpr u32 larb_ports_at_once = 4;
inline constexpr u32 larb_monitor_mode = 0x40c;
inline constexpr u32 larb_mode_four_ports = 0x400;
inline constexpr u32 larb_mode_read = 0x204;
inline constexpr u32 larb_mode_write = 0x208;
inline constexpr u32 larb_mode_command_period = 0x200;
inline constexpr u32 larb_monitor_data = 0x418;        // of one port and direction
inline constexpr u32 larb_data_unit = 16;              // bytes
inline constexpr u32 larb_monitor_max_period = 0x430;  // SMI clock cycles

// Counter of the port in byte k of the selection, bytes.
constexpr u32 larb_counter_of(u32 k) {
    return 0x410 + 4 * k;
}

// A larb has at most 32 ports.
inline constexpr u32 larb_ports_max = 32;
inline constexpr u32 larb_force_ultra = 0x78;  // a bit for each port
inline constexpr u32 larb_force_pultra = 0x7c;
inline constexpr u32 larb_outstanding_registers = 128;  // up to the monitor
inline constexpr u32 larb_outstanding_mask = 0xff;
constexpr u32 larb_outstanding_of(u32 port) {
    return 0x200 + 4 * port;
}
