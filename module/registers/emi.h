// SPDX-License-Identifier: GPL-2.0-only
// Registers of an EMI channel and of the dispatch block that decides which channels a write
// reaches.
#pragma once

#include "base/register_window.h"

inline constexpr register_block emi_channel_block{
    "emi_cen", KERN_ERR "[OVK_BW]Can't find EMI device base!!\n"};
inline constexpr register_block emi_dispatch_block{
    "emi_dispatch", KERN_ERR "[OVK_BW]Can't find EMI_DISPATCH device base!!\n"};

// Bandwidth monitor of a channel.
inline constexpr u32 emi_monitor_enable = 0x060;
inline constexpr u32 emi_monitor_enable_bit = 1u << 30;
inline constexpr u32 emi_monitor_control = 0x400;
inline constexpr u32 emi_monitor_start = 1u << 0;
inline constexpr u32 emi_monitor_done = 1u << 2;
inline constexpr u32 emi_monitor_length = 0x404;  // EMI clock cycles
inline constexpr u32 emi_counter_all = 0x420;     // all ports, units of emi_counter_unit
inline constexpr u32 emi_monitor_clear_440 = 0x440;
inline constexpr u32 emi_monitor_clear_468 = 0x468;
inline constexpr u32 emi_monitor_clear_4b0 = 0x4b0;
inline constexpr u32 emi_monitor_filter = 0x4e8;
inline constexpr u32 emi_monitor_filter_on = 0x0200u << 16;
inline constexpr u32 emi_monitor_ports = 0x4f8;
inline constexpr u32 emi_monitor_ports_all = 0xffffffff;
inline constexpr u32 emi_slot_counters[] = {0x428, 0x458, 0x460, 0x464, 0xf18, 0xf1c};
inline constexpr u32 emi_counter_unit = 8;  // bytes
inline constexpr u32 emi_cycles_per_ms_and_mhz = 1000;

// Slots: what their counters count. Configuration and auxiliary registers follow one another.
inline constexpr u32 emi_slots = 6;
constexpr u32 emi_slot_config(u32 slot) {
    return 0xf00 + 4 * slot;
}
inline constexpr u32 emi_slot_enable = 0x7;
inline constexpr u32 emi_slot_port_shift = 8;
inline constexpr u32 emi_ports_max = 24;
constexpr u32 emi_slot_auxiliary(u32 slot) {
    return 0xf2c + 4 * slot;
}
inline constexpr u32 emi_slot_auxiliary_enable = 0xfu << 28;

// Arbitration of a port.
inline constexpr u32 emi_arbitration = 0x100;
inline constexpr u32 emi_arbitration_stride = 8;

// Ports 0 and 1 share one register.
constexpr u32 emi_arbitration_of(u32 port) {
    return port == 1 ? emi_arbitration : emi_arbitration + port * emi_arbitration_stride;
}
inline constexpr register_field emi_bandwidth_limit{0, 0x3f};
inline constexpr register_field emi_read_timer{16, 0xff};
inline constexpr register_field emi_write_timer{24, 0xff};

// Latency of a port: the sum over all requests, in EMI cycles, and their number.
constexpr u32 emi_latency_sum_of(u32 port) {
    return 0x500 + 8 * port;
}
constexpr u32 emi_latency_count_of(u32 port) {
    return 0x540 + 8 * port;
}

// Outstanding limits: a low and a high nibble of each, in two registers. Ports 4 to 7 have a pair
// of their own, all others share one.
struct emi_outstanding_pair {
    u32 low;
    u32 high;
};
constexpr emi_outstanding_pair emi_outstanding_of(u32 port) {
    return (port & ~3u) == 4 ? emi_outstanding_pair{0xd8, 0xdc} : emi_outstanding_pair{0xd0, 0xd4};
}
enum emi_direction : u32 { EMI_READ = 0, EMI_WRITE = 1 };
constexpr register_field emi_outstanding_nibble(u32 port, emi_direction direction) {
    return {8 * (port & 3) + (direction == EMI_READ ? 0u : 4u), 0xf};
}
inline constexpr u32 emi_outstanding_high_shift = 4;

// Dispatch block.
inline constexpr u32 emi_dispatch_enable = 0x100;
inline constexpr u32 emi_dispatch_targets = 0x104;
inline constexpr u32 emi_dispatch_on = 0x7f7f;
inline constexpr u32 emi_dispatch_off = 0;
// For one, two and three channels.
inline constexpr u32 emi_dispatch_rules[] = {0, 0x2, 0x7f02};
inline constexpr u32 emi_channels_max = sizeof(emi_dispatch_rules) / sizeof(emi_dispatch_rules[0]);
