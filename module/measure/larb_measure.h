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
inline constexpr u32 larb_monitor_counter = 0x410;  // of the port in byte 0, then of byte 1, ...

inline constexpr u32 larb_ports_at_once = 4;

// Measures every port that module cfg.module_id uses on its larb number cfg.larb_idx, whose window
// is cfg.base[0], four at once for cfg.time ms, and adds what it finds to `result` (bytes per
// millisecond). The ports' own entries start at cfg.port_ofs.
void larb_bw_measure(const measure_cfg &cfg, total_result &result);
