// SPDX-License-Identifier: GPL-2.0-only
#include "measure/emi_measure.h"

#include "core/config.h"
#include "core/shared.h"
#include "measure/arithmetic.h"
#include "measure/effi_measure.h"
#include "measure/effi_registers.h"
#include "measure/emi_registers.h"
#include "measure/emi_window.h"

// The ports that the slots count in one run.
struct port_group_run {
    u32 first;
    u32 count;
};

static register_window map_monitor(u32 port) {
    return map_block(effi_monitor_block, port);
}

static void reset_monitor(const register_window &monitor) {
    monitor.write32(effi_control, effi_control_reset);
    wmb();
    monitor.write32(effi_control, 0);
}

static void prepare_monitor(const register_window &monitor) {
    reset_monitor(monitor);
    monitor.write32(effi_selection_value, 0);
    monitor.write32(effi_selection_mask, effi_mask_none);
    monitor.update64(effi_control, 0, effi_control_armed);
    monitor.update32(effi_control, effi_control_selector, 0);
    wmb();
    monitor.update32(effi_control, 0, effi_select_efficiency << effi_control_selector_shift);
}

static void prepare_monitors() {
    for (u32 port = 0; emi_effi_mon != 0 && port < emi_port_cnt; port++) {
        if (const register_window monitor = map_monitor(port)) {
            prepare_monitor(monitor);
        }
    }
}

// Monitors keep running from group to group; starting them again changes nothing.
static void run_monitors() {
    for (u32 port = 0; emi_effi_mon != 0 && port < emi_port_cnt; port++) {
        if (const register_window monitor = map_monitor(port)) {
            monitor.update32(effi_control, 0, effi_control_run);
        }
    }
}

static u32 slot_config(u32 slot) {
    return emi_slot0_config + slot * sizeof(u32);
}

static void clear_counters(const register_window &channel0) {
    static constexpr u32 cleared[] = {emi_monitor_control, emi_monitor_clear_440,
                                      emi_monitor_clear_468, emi_monitor_filter,
                                      emi_monitor_clear_4b0};

    for (const u32 offset : cleared) {
        channel0.write32(offset, 0);
    }
    for (u32 slot = 0; slot < emi_slots; slot++) {
        channel0.write32(slot_config(slot), 0);
    }
    channel0.write32(emi_monitor_ports, 0);
}

// The auxiliary register goes to all channels with channel 0's value, which is read with broadcast
// off.
static void enable_slot(const register_window &channel0, u32 slot) {
    const u32 auxiliary_offset = emi_slot0_auxiliary + slot * sizeof(u32);

    for (u32 bit = 1; bit <= emi_slot_enable; bit <<= 1) {
        channel0.update_low16(slot_config(slot), 0, bit);
    }
    enable_broadcast_mode(false);
    const u32 auxiliary = channel0.read32(auxiliary_offset);
    enable_broadcast_mode(true);
    channel0.write32(auxiliary_offset, auxiliary | emi_slot_auxiliary_enable);
    wmb();
}

static void select_ports(const register_window &channel0, const port_group_run &group) {
    for (u32 slot = 0; slot < group.count; slot++) {
        const u32 port = group.first + slot;
        channel0.update_low16(slot_config(slot), 0, 1u << (emi_slot_port_shift + port));
    }
}

static void start_group(const measure_cfg &cfg, const port_group_run &group) {
    const register_window &channel0 = cfg.base[0];

    enable_broadcast_mode(true);
    clear_counters(channel0);
    channel0.write32(emi_monitor_length, emi_run_length(cfg.time));
    for (u32 slot = 0; slot < emi_slots; slot++) {
        enable_slot(channel0, slot);
    }
    channel0.write32(emi_monitor_ports, emi_monitor_ports_all);
    channel0.update_low16(emi_monitor_filter, 0, emi_monitor_filter_on);
    select_ports(channel0, group);
    channel0.update_low16(emi_monitor_control, 0, emi_monitor_start);
    run_monitors();
    wmb();
    enable_broadcast_mode(false);
}

static void read_group(const measure_cfg &cfg, const port_group_run &group,
                       owned_array<emi_result> &results) {
    for (u32 slot = 0; slot < group.count; slot++) {
        const u32 port = group.first + slot;
        u64 sum = 0;
        for (u32 channel = 0; channel < emi_cnt; channel++) {
            const u32 bytes = cfg.base[channel].read32(emi_slot_counters[slot]) * emi_counter_unit;
            const u64 bandwidth = divide_or_zero(bytes, cfg.time) / 1000;
            results[channel].data_bw[port] = bandwidth;
            sum += bandwidth;
        }
        results[emi_cnt].data_bw[port] = sum;
    }
}

// True if the last group's run ended.
static bool measure_groups(const measure_cfg &cfg, emi_results &results) {
    bool done = false;

    for (u32 first = 0; first < emi_port_cnt && !is_killed(); first += emi_slots) {
        const u32 left = emi_port_cnt - first;
        const port_group_run group{first, left < emi_slots ? left : emi_slots};
        start_group(cfg, group);
        done = emi_wait_done(cfg.base[0], cfg.time);
        if (done) {
            read_group(cfg, group, results.records);
        } else {
            results.timed_out = true;
        }
    }
    return done;
}

struct monitor_reading {
    u32 effi;
    u32 burst;
};

static monitor_reading read_monitor(const register_window &monitor, u32 port) {
    monitor_reading reading{};

    effi_wait_done(monitor, port);
    reading.effi = monitor.read32(effi_result_value);
    monitor.update_low16(effi_control, 1u << effi_control_selector_shift, 0);
    monitor.update_low16(effi_control, 2u << effi_control_selector_shift, 0);
    wmb();
    reading.burst = monitor.read32(effi_result_value);
    reset_monitor(monitor);
    return reading;
}

// One monitor watches the port on all channels: it is read once for each, and reset in between.
static void read_port_monitor(u32 port, owned_array<emi_result> &results) {
    emi_result &all = results[emi_cnt];

    all.effi[port] = 0;
    all.burst[port] = 0;
    for (u32 channel = 0; channel < emi_cnt; channel++) {
        const register_window monitor = map_monitor(port);
        if (!monitor) {
            continue;
        }
        const monitor_reading reading = read_monitor(monitor, port);
        results[channel].effi[port] = reading.effi;
        results[channel].burst[port] = reading.burst;
        all.effi[port] += reading.effi;
        all.burst[port] += reading.burst;
    }
    all.effi[port] = divide_or_zero(all.effi[port], emi_cnt);
    all.burst[port] = divide_or_zero(all.burst[port], emi_cnt);
}

// Those of a killed process are stopped without a look at them.
static void finish_monitors(emi_results &results) {
    for (u32 port = 0; emi_effi_mon != 0 && port < emi_port_cnt; port++) {
        if (!is_killed()) {
            read_port_monitor(port, results.records);
        } else if (const register_window monitor = map_monitor(port)) {
            reset_monitor(monitor);
        }
    }
}

static u64 cycles_to_ns(u32 cycles) {
    return divide_or_zero(u64{cycles} * 1'000'000, emi_clock) / 1000;
}

static u64 average_latency(const register_window &channel, u32 port) {
    const u32 cycles = channel.read32(emi_latency_sum_of(port));
    const u32 requests = channel.read32(emi_latency_count_of(port));

    return cycles_to_ns(divide_or_zero(cycles, requests));
}

// The latency registers cover all ports in every run: what they hold is the last run's, and of one
// that did not end it is not known.
static void read_latency(const measure_cfg &cfg, u32 port, bool ended,
                         owned_array<emi_result> &results) {
    u64 sum = 0;

    for (u32 channel = 0; channel < emi_cnt; channel++) {
        const register_window &window = cfg.base[channel];
        const u64 latency = ended ? average_latency(window, port) : 0;
        results[channel].latency[port] = latency;
        results[channel].arb[port] = window.read32(emi_arbitration_of(port));
        sum += latency;
    }
    results[emi_cnt].latency[port] = divide_or_zero(sum, emi_cnt);
}

static u32 read_outstanding(const register_window &window, u32 port, emi_direction direction) {
    const emi_outstanding_pair pair = emi_outstanding_of(port);
    const register_field nibble = emi_outstanding_nibble(port, direction);
    const u32 low = nibble.of(window.read32(pair.low));
    const u32 high = nibble.of(window.read32(pair.high));

    return low | (high << emi_outstanding_high_shift);
}

static void read_settings(const measure_cfg &cfg, u32 port, owned_array<emi_result> &results) {
    for (u32 channel = 0; channel < emi_cnt; channel++) {
        const register_window &window = cfg.base[channel];
        results[channel].rd_ostd[port] = read_outstanding(window, port, EMI_READ);
        results[channel].wr_ostd[port] = read_outstanding(window, port, EMI_WRITE);
    }
}

static void clean_up(const register_window &channel0) {
    enable_broadcast_mode(true);
    clear_counters(channel0);
    channel0.write32(emi_monitor_ports, 0);
    channel0.update_low16(emi_monitor_filter, 0, 0);
    channel0.update_low16(emi_monitor_enable, 0, 0);
    enable_broadcast_mode(false);
}

static void measure_ports(const measure_cfg &cfg, emi_results &results) {
    prepare_monitors();
    enable_broadcast_mode(true);
    cfg.base[0].update_low16(emi_monitor_enable, 0, emi_monitor_enable_bit);
    const bool ended = measure_groups(cfg, results);
    finish_monitors(results);
    enable_broadcast_mode(false);
    for (u32 port = 0; port < emi_port_cnt && !is_killed(); port++) {
        read_latency(cfg, port, ended, results.records);
    }
    for (u32 port = 0; port < emi_port_cnt && !is_killed(); port++) {
        read_settings(cfg, port, results.records);
    }
    clean_up(cfg.base[0]);
}

s32 emi_measure_wrap(measure_cfg &cfg, emi_results &results) {
    const emi_lock lock;

    if (lock.error() != 0) {
        return lock.error();
    }
    const s32 error = emi_set_base(cfg);
    if (error == 0 && emi_cnt != 0) {
        measure_ports(cfg, results);
    }
    emi_release_base(cfg);
    return error;
}
