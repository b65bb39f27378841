// SPDX-License-Identifier: GPL-2.0-only
#include "measure/emi_measure.h"

#include "base/arithmetic.h"
#include "base/shared.h"
#include "core/config.h"
#include "measure/effi_monitor.h"
#include "measure/emi_monitor.h"
#include "registers/effi_monitor.h"

// Calls `use` with the monitor of each EMI port, where there are any.
template <class F>
static void for_each_monitor(F use) {
    for (u32 port = 0; emi_effi_mon != 0 && port < emi_port_cnt; port++) {
        if (const register_window monitor = map_block(effi_monitor_block, port)) {
            use(monitor);
        }
    }
}

static void read_group(const emi_channels &channels, const emi_port_group &group, u32 time,
                       owned_array<emi_result> &records) {
    for (u32 slot = 0; slot < group.count; slot++) {
        const u32 port = group.first + slot;
        u64 sum = 0;
        for (u32 channel = 0; channel < emi_cnt; channel++) {
            const u64 bandwidth = emi_read_port(channels.base[channel], slot, time);
            records[channel].ports[port].data_bw = bandwidth;
            sum += bandwidth;
        }
        records[emi_cnt].ports[port].data_bw = sum;
    }
}

// Monitors keep running from group to group; starting them again changes nothing. True if the last
// group's run ended.
static bool measure_groups(const emi_channels &channels, u32 time, emi_results &results) {
    bool done = false;

    for (u32 first = 0; first < emi_port_cnt && !is_killed(); first += emi_slots) {
        const u32 left = emi_port_cnt - first;
        const emi_port_group group{first, left < emi_slots ? left : emi_slots};
        emi_start_ports(channels.base[0], group, time);
        for_each_monitor(effi_start_at_emi);
        emi_started_ports();
        done = emi_wait_done(channels.base[0], time);
        if (done) {
            read_group(channels, group, time, results.records);
        } else {
            results.timed_out = true;
        }
    }
    return done;
}

// One monitor watches the port on all channels: it is read once for each, and reset in between.
static void read_monitor(u32 port, owned_array<emi_result> &records) {
    emi_port &all = records[emi_cnt].ports[port];

    for (u32 channel = 0; channel < emi_cnt; channel++) {
        const register_window monitor = map_block(effi_monitor_block, port);
        if (!monitor) {
            continue;
        }
        const effi_sample sample = effi_finish_at_emi(monitor, port);
        emi_port &here = records[channel].ports[port];
        here.effi = sample.efficiency;
        here.burst = static_cast<u32>(sample.burst);
        all.effi += here.effi;
        all.burst += here.burst;
    }
    all.effi = divide_or_zero(all.effi, emi_cnt);
    all.burst = divide_or_zero(all.burst, emi_cnt);
}

static void read_monitors(owned_array<emi_result> &records) {
    for (u32 port = 0; emi_effi_mon != 0 && port < emi_port_cnt && !is_killed(); port++) {
        read_monitor(port, records);
    }
}

// The latency registers cover all ports in every run: what they hold is the last run's, and of one
// that did not end it is not known.
static void read_latency(const emi_channels &channels, u32 port, bool ended,
                         owned_array<emi_result> &records) {
    u64 sum = 0;

    for (u32 channel = 0; channel < emi_cnt; channel++) {
        const register_window &window = channels.base[channel];
        emi_port &here = records[channel].ports[port];
        here.latency = ended ? emi_latency(window, port) : 0;
        here.arb = window.read32(emi_arbitration_of(port));
        sum += here.latency;
    }
    records[emi_cnt].ports[port].latency = divide_or_zero(sum, emi_cnt);
}

static u32 read_outstanding(const register_window &window, u32 port, emi_direction direction) {
    const emi_outstanding_pair pair = emi_outstanding_of(port);
    const register_field nibble = emi_outstanding_nibble(port, direction);
    const u32 low = nibble.of(window.read32(pair.low));
    const u32 high = nibble.of(window.read32(pair.high));

    return low | (high << emi_outstanding_high_shift);
}

static void read_limits(const emi_channels &channels, u32 port, owned_array<emi_result> &records) {
    for (u32 channel = 0; channel < emi_cnt; channel++) {
        emi_port &here = records[channel].ports[port];
        here.rd_ostd = read_outstanding(channels.base[channel], port, EMI_READ);
        here.wr_ostd = read_outstanding(channels.base[channel], port, EMI_WRITE);
    }
}

static void measure_ports(const emi_channels &channels, u32 time, emi_results &results) {
    for_each_monitor(effi_prepare_at_emi);
    emi_enable_ports(channels.base[0]);
    const bool ended = measure_groups(channels, time, results);
    read_monitors(results.records);
    // Those of a killed process are stopped without a look at them, some for the second time.
    if (is_killed()) {
        for_each_monitor(effi_reset);
    }
    enable_broadcast_mode(false);
    for (u32 port = 0; port < emi_port_cnt; port++) {
        read_latency(channels, port, ended, results.records);
    }
    for (u32 port = 0; port < emi_port_cnt; port++) {
        read_limits(channels, port, results.records);
    }
    emi_clean_up_ports(channels.base[0]);
}

int emi_measure_wrap(u32 time, emi_results &results) {
    const emi_lock lock;
    emi_channels channels;

    if (lock.error() != 0) {
        return lock.error();
    }
    const int error = emi_set_base(channels);
    if (error == 0 && emi_cnt != 0) {
        measure_ports(channels, time, results);
    }
    return error;
}
