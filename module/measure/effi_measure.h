// SPDX-License-Identifier: GPL-2.0-only
// One measurement on one efficiency monitor.
#pragma once

#include "core/register_window.h"
#include "platform/kernel.h"

struct total_result;

enum effi_type : u32 {
    EFFI_LARB_TOTAL = 0,     // larb port, for a module's total
    EFFI_COMMON_TOTAL = 1,   // SMI common input port, for a module's total
    EFFI_COMMON_DETAIL = 2,  // SMI common input port, with burst
    EFFI_LARB_DETAIL = 3,    // larb port, with burst
    EFFI_MONITOR = 4,        // monitor given by number, all its requests
};

// Number that stands for "no monitor".
inline constexpr u32 effi_no_monitor = 99;

// Priority counts are out of a span of so many requests.
inline constexpr s32 effi_span = 1024;

// What one measurement found. Priority counts are fresh whenever something was measured, also where
// the efficiency reads 0.
struct effi_sample {
    bool measured;   // false: there was nothing to measure with, and all else is 0
    u32 efficiency;  // percent
    u64 ultra;
    u64 pultra;
    u64 burst;  // average, in the monitor's own unit; 0 for the types without
};

struct effi_result {
    u64 cnt_ultra;
    u64 cnt_pultra;
    u64 burst;  // average, in the monitor's own unit
};

// Measures the efficiency of larb `id` port `port` (EFFI_LARB_*), of SMI common `id` input port
// `port` (EFFI_COMMON_*), or of all that monitor `port` sees (EFFI_MONITOR). Where there is nothing
// to measure with the reason is logged if it is a fault. A killed process measures nothing.
effi_sample effi_take_sample(s32 id, u32 port, u32 type);

// The same for the types without burst. Returns percent, or 0 when nothing was measured, and then
// `result` is as it was. Of `result` only `ultra` and `pultra` are written.
u32 effi_measure(s32 id, u32 port, u32 type, total_result &result);

// The same for the types with burst; writes all fields of `result`.
u32 effi_measure(s32 id, u32 port, u32 type, effi_result &result);

// Sleeps until monitor `number` reports done, for a limit that depends on the EMI clock, or until
// the process is killed. A monitor that doesn't is logged only while debug_on is set: what it holds
// is read all the same.
void effi_wait_done(const register_window &monitor, u32 number);

// Makes the result register show one of effi_select_*.
void effi_select(const register_window &monitor, u32 selector);
