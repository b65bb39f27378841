// SPDX-License-Identifier: GPL-2.0-only
#include "measure/emi_monitor.h"

#include "base/arithmetic.h"
#include "base/shared.h"
#include "core/config.h"

static constexpr u64 done_wait_slack_ms = 100;

// The CPU's two EMI ports and the GPU's, as slot 0 selects them.
static constexpr u32 cpu_ports = 0x3u << emi_slot_port_shift;
static constexpr u32 gpu_port = 0x80u << emi_slot_port_shift;

// The time is taken before the register, so that a wait that lost the processor in between does
// not give up on a run that has ended.
bool emi_wait_done(const register_window &channel0, u32 time) {
    const u64 limit = (u64{2} * time + done_wait_slack_ms) * NSEC_PER_MSEC;
    const u64 start = ktime_get_ns();

    for (;;) {
        const u64 waited = ktime_get_ns() - start;
        if ((channel0.read32(emi_monitor_control) & emi_monitor_done) != 0) {
            return true;
        }
        if (is_killed()) {
            return false;
        }
        if (waited >= limit) {
            printk(KERN_ERR "[OVK_BW]EMI monitor time out\n");
            return false;
        }
        cond_resched();
        cpu_relax();
    }
}

static void clear_controls(const register_window &channel0) {
    static constexpr u32 cleared[] = {emi_monitor_control, emi_monitor_clear_440,
                                      emi_monitor_clear_468, emi_monitor_filter,
                                      emi_monitor_clear_4b0};

    for (const u32 offset : cleared) {
        channel0.write32(offset, 0);
    }
}

// The length keeps 32 bits.
static void set_length(const register_window &channel0, u32 time) {
    channel0.write32(emi_monitor_length, time * emi_clock * emi_cycles_per_ms_and_mhz);
}

// Each channel has its own value here, but channel 0's goes to all: it is read with broadcast off
// and written with broadcast on.
static void enable_auxiliary(const register_window &channel0, u32 slot) {
    enable_broadcast_mode(false);
    const u32 auxiliary = channel0.read32(emi_slot_auxiliary(slot));
    enable_broadcast_mode(true);
    channel0.write32(emi_slot_auxiliary(slot), auxiliary | emi_slot_auxiliary_enable);
}

static void select_traffic(const register_window &channel0, dram_traffic traffic) {
    if (traffic == dram_traffic::cpu) {
        channel0.update64(emi_slot_config(0), 0, cpu_ports);
    } else if (traffic == dram_traffic::gpu) {
        channel0.update64(emi_slot_config(0), 0, gpu_port);
    }
}

void emi_start_count(const register_window &channel0, dram_traffic traffic, u32 time) {
    enable_broadcast_mode(true);
    channel0.update64(emi_monitor_enable, 0, emi_monitor_enable_bit);
    clear_controls(channel0);
    channel0.write32(emi_slot_config(0), 0);
    set_length(channel0, time);
    channel0.update64(emi_slot_config(0), 0, emi_slot_enable);
    enable_auxiliary(channel0, 0);
    select_traffic(channel0, traffic);
    channel0.update64(emi_monitor_control, 0, emi_monitor_start);
    wmb();
    enable_broadcast_mode(false);
}

u32 emi_read_count(const register_window &channel, dram_traffic traffic) {
    return channel.read32(traffic == dram_traffic::all ? emi_counter_all : emi_slot_counters[0]);
}

// A run that has not ended by itself is cut off.
void emi_stop_count(const register_window &channel0, bool done) {
    enable_broadcast_mode(true);
    if (!done) {
        channel0.write32(emi_monitor_control, 0);
    }
    channel0.update64(emi_monitor_enable, emi_monitor_enable_bit, 0);
    enable_broadcast_mode(false);
}

void emi_enable_ports(const register_window &channel0) {
    enable_broadcast_mode(true);
    channel0.update_low16(emi_monitor_enable, 0, emi_monitor_enable_bit);
}

static void clear_slots(const register_window &channel0) {
    clear_controls(channel0);
    for (u32 slot = 0; slot < emi_slots; slot++) {
        channel0.write32(emi_slot_config(slot), 0);
    }
    channel0.write32(emi_monitor_ports, 0);
}

static void enable_slot(const register_window &channel0, u32 slot) {
    for (u32 bit = 1; bit <= emi_slot_enable; bit <<= 1) {
        channel0.update_low16(emi_slot_config(slot), 0, bit);
    }
    enable_auxiliary(channel0, slot);
    wmb();
}

void emi_start_ports(const register_window &channel0, const emi_port_group &group, u32 time) {
    enable_broadcast_mode(true);
    clear_slots(channel0);
    set_length(channel0, time);
    for (u32 slot = 0; slot < emi_slots; slot++) {
        enable_slot(channel0, slot);
    }
    channel0.write32(emi_monitor_ports, emi_monitor_ports_all);
    channel0.update_low16(emi_monitor_filter, 0, emi_monitor_filter_on);
    for (u32 slot = 0; slot < group.count; slot++) {
        channel0.update_low16(emi_slot_config(slot), 0,
                              1u << (emi_slot_port_shift + group.first + slot));
    }
    channel0.update_low16(emi_monitor_control, 0, emi_monitor_start);
}

void emi_started_ports() {
    wmb();
    enable_broadcast_mode(false);
}

// The product of count and unit keeps 32 bits.
u64 emi_read_port(const register_window &channel, u32 slot, u32 time) {
    const u32 bytes = channel.read32(emi_slot_counters[slot]) * emi_counter_unit;

    return divide_or_zero(bytes, time) / 1000;
}

void emi_clean_up_ports(const register_window &channel0) {
    enable_broadcast_mode(true);
    clear_slots(channel0);
    channel0.write32(emi_monitor_ports, 0);
    channel0.update_low16(emi_monitor_filter, 0, 0);
    channel0.update_low16(emi_monitor_enable, 0, 0);
    enable_broadcast_mode(false);
}

u64 emi_latency(const register_window &channel, u32 port) {
    const u32 sum = channel.read32(emi_latency_sum_of(port));
    const u32 requests = channel.read32(emi_latency_count_of(port));

    return divide_or_zero(u64{divide_or_zero(sum, requests)} * 1'000'000, emi_clock) / 1000;
}
