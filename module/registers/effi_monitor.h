// SPDX-License-Identifier: GPL-2.0-only
// Registers of an efficiency monitor, 32 bits each; the control register is also the lower half of
// a doubleword.
#pragma once

#include "base/register_window.h"

inline constexpr register_block effi_monitor_block{
    "effi_monitor", KERN_ERR "[OVK_BW]Can't find effi_monitor device base!!\n"};

inline constexpr u32 effi_control = 0x00;
inline constexpr u32 effi_control_reset = 1u << 0;
inline constexpr u32 effi_control_armed = 1u << 3;  // set before a run
inline constexpr u32 effi_control_run = 1u << 4;
inline constexpr u32 effi_control_selector_shift = 6;
inline constexpr u32 effi_control_selector = 3u << effi_control_selector_shift;

// What the result register shows.
inline constexpr u32 effi_select_burst = 0;
inline constexpr u32 effi_select_efficiency = 1;
inline constexpr u32 effi_select_ultra = 2;
inline constexpr u32 effi_select_pultra = 3;

inline constexpr u32 effi_selection_value = 0x04;
inline constexpr u32 effi_selection_input_shift = 8;
inline constexpr u32 effi_selection_mask = 0x08;
inline constexpr u32 effi_mask_input_and_port = 0x7ff;
inline constexpr u32 effi_mask_input = 0x700;
inline constexpr u32 effi_mask_none = 0;

// Priority counts are out of a span of so many requests.
inline constexpr s32 effi_span = 1024;

inline constexpr u32 effi_config = 0x0c;  // eight words
inline constexpr u32 effi_result_value = 0x2c;
inline constexpr u32 effi_status = 0x34;
inline constexpr u32 effi_status_done = 1u << 0;
