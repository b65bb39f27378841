// SPDX-License-Identifier: GPL-2.0-only
// The traffic generator of a MIU2GMC block.
#pragma once

#include "platform/kernel.h"

inline constexpr const char *miu2gmc_node_prefix = "miu2gmc";

inline constexpr u32 engine_control = 0x00;
inline constexpr u32 engine_control_idle = 0;
inline constexpr u32 engine_status_error = 1u << 13;
inline constexpr u32 engine_status_done = 1u << 15;
inline constexpr u32 engine_start_low = 0x04;  // start address and length, 16 bits a register
inline constexpr u32 engine_start_high = 0x08;
inline constexpr u32 engine_length_low = 0x0c;  // units of 16 bytes
inline constexpr u32 engine_length_high = 0x10;
inline constexpr u32 engine_length_shift = 4;
inline constexpr u32 engine_pattern = 0x14;
inline constexpr u32 engine_reset = 0x18;
inline constexpr u32 engine_loop_gen1 = 0x1c;
inline constexpr u32 engine_loop_gen2 = 0x20;
inline constexpr u32 engine_loop_bit = 1u << 4;

// Two writes to control start a test of each type.
struct engine_command {
    u32 first;
    u32 second;
};
inline constexpr engine_command engine_commands[] = {
    {0x108, 0x109},  // read
    {0x208, 0x209},  // write
    {0x008, 0x009},  // read and write
};
inline constexpr u32 engine_types = sizeof(engine_commands) / sizeof(engine_commands[0]);
inline constexpr u32 engine_read_and_write = 2;
