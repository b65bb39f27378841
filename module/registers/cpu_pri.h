// SPDX-License-Identifier: GPL-2.0-only
// The CPU priority block: up to three address ranges with an access priority.
#pragma once

#include "platform/kernel.h"

inline constexpr const char *cpu_pri_node = "cpu_pri";

// The control word: an enable bit for each scope, and one mode for all of them. Stores take it as
// the lower half of a doubleword.
inline constexpr u32 cpu_control = 0x18;
inline constexpr u64 cpu_control_mode = 3u << 4;
inline constexpr u32 cpu_control_mode_shift = 4;
constexpr u32 cpu_scope_bit(u32 scope) {
    return 1u << (scope + 1);
}

// The range of a scope in pages, 16 bits a register.
inline constexpr u32 cpu_scopes = 3;
inline constexpr u32 cpu_scope_stride = 16;
inline constexpr u32 cpu_start_low = 0x1c;
inline constexpr u32 cpu_start_high = 0x20;
inline constexpr u32 cpu_end_low = 0x24;
inline constexpr u32 cpu_end_high = 0x28;
inline constexpr u32 cpu_page_shift = 12;
