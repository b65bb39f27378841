// SPDX-License-Identifier: GPL-2.0-only
// The bandwidth monitor of an SMI larb.
#pragma once

#include "core/mon_cfg.h"
#include "measure/total_result.h"
#include "platform/kernel.h"

inline constexpr u32 larb_monitor_run = 0x400;
inline constexpr u32 larb_monitor_clear = 0x404;
inline constexpr u32 larb_monitor_ports = 0x408;  // one port id, or up to four, a byte each
inline constexpr u32 larb_monitor_mode = 0x40c;
inline constexpr u32 larb_mode_four_ports = 0x400;
inline constexpr u32 larb_mode_read = 0x204;
inline constexpr u32 larb_mode_write = 0x208;
inline constexpr u32 larb_mode_command_period = 0x200;
inline constexpr u32 larb_monitor_counter = 0x410;     // of the port in byte 0, then of byte 1, ...
inline constexpr u32 larb_monitor_data = 0x418;        // of one port and direction
inline constexpr u32 larb_data_unit = 16;              // bytes
inline constexpr u32 larb_monitor_max_period = 0x430;  // SMI clock cycles

// Quality of service of a port. A larb has at most 32.
inline constexpr u32 larb_ports_max = 32;
inline constexpr u32 larb_force_ultra = 0x78;  // a bit for each port
inline constexpr u32 larb_force_pultra = 0x7c;
inline constexpr u32 larb_outstanding_registers = 128;  // up to the monitor
inline constexpr u32 larb_outstanding_mask = 0xff;
constexpr u32 larb_outstanding_of(u32 port) {
    return 0x200 + 4 * port;
}

inline constexpr u32 larb_ports_at_once = 4;

// Runs the monitor, which has been cleared and set up, for `time` ms, sleeping.
void larb_monitor_count(const register_window &larb, u32 time);

// Measures every port that module cfg.module_id uses on its larb number cfg.larb_idx, whose window
// is cfg.base[0], four at once for cfg.time ms, and adds what it finds to `result` (bytes per
// millisecond). The ports' own entries start at cfg.port_ofs.
void larb_bw_measure(const measure_cfg &cfg, total_result &result);
