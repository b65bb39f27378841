// SPDX-License-Identifier: GPL-2.0-only
// The FIFO status monitors: banks of 16-bit registers on the register bus.
#pragma once

#include "base/register_window.h"

// A bank lies at its bus address times 512 behind the start of the bus.
inline constexpr u32 riu_start = 0x1C000000;
inline constexpr u32 riu_bank_shift = 9;

inline constexpr u32 fifo_thresholds = 0x54;
inline constexpr register_field preultra_threshold{0, 0x7f};
inline constexpr register_field preultra_mask{7, 1};
inline constexpr register_field ultra_threshold{8, 0x7f};
inline constexpr register_field ultra_mask{15, 1};
inline constexpr u32 fifo_urgent = 0x58;
inline constexpr register_field urgent_threshold{0, 0x7f};
inline constexpr register_field urgent_mask{7, 1};
inline constexpr u32 fifo_switch = 0x100;
inline constexpr u32 fifo_switch_pulse = 1u << 4;
inline constexpr u32 fifo_status_word = 0x140;
inline constexpr u32 fifo_enable = 0x1c0;
inline constexpr u32 fifo_enable_bit = 1u << 0;
inline constexpr u32 fifo_not_done_flag = 0x1c8;  // the last register in use
inline constexpr u32 fifo_not_done_bit = 1u << 2;
