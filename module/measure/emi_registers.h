// SPDX-License-Identifier: GPL-2.0-only
// Registers of an EMI channel and of the dispatch block that decides which channels a write
// reaches.
#pragma once

#include "platform/kernel.h"

// Bandwidth monitor of a channel.
inline constexpr u32 emi_monitor_enable = 0x060;
inline constexpr u32 emi_monitor_enable_bit = 1u << 30;
inline constexpr u32 emi_monitor_control = 0x400;
inline constexpr u32 emi_monitor_start = 1u << 0;
inline constexpr u32 emi_monitor_done = 1u << 2;
inline constexpr u32 emi_monitor_length = 0x404;  // EMI clock cycles
inline constexpr u32 emi_counter_all = 0x420;     // all ports, units of emi_counter_unit
inline constexpr u32 emi_counter_slot0 = 0x428;   // ports that slot 0 selects
inline constexpr u32 emi_monitor_clear_440 = 0x440;
inline constexpr u32 emi_monitor_clear_468 = 0x468;
inline constexpr u32 emi_monitor_clear_4b0 = 0x4b0;
inline constexpr u32 emi_monitor_filter = 0x4e8;
inline constexpr u32 emi_counter_unit = 8;  // bytes

// Slot 0: what its counter counts.
inline constexpr u32 emi_slot0_config = 0xf00;
inline constexpr u32 emi_slot_enable = 0x7;
inline constexpr u32 emi_slot_port_shift = 8;
inline constexpr u32 emi_slot0_auxiliary = 0xf2c;
inline constexpr u32 emi_slot_auxiliary_enable = 0xfu << 28;

// Arbitration of a port.
inline constexpr u32 emi_arbitration = 0x100;
inline constexpr u32 emi_arbitration_stride = 8;
inline constexpr u32 emi_bandwidth_limit_mask = 0x3f;

// Ports 0 and 1 share one register.
constexpr u32 emi_arbitration_of(u32 port) {
    return port == 1 ? emi_arbitration : emi_arbitration + port * emi_arbitration_stride;
}

// Dispatch block.
inline constexpr u32 emi_dispatch_enable = 0x100;
inline constexpr u32 emi_dispatch_targets = 0x104;
