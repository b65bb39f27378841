// SPDX-License-Identifier: GPL-2.0-only
#include "report/larb_report_measure.h"

#include "core/config.h"
#include "core/register_window.h"
#include "core/shared.h"
#include "debug/debug_log.h"
#include "measure/arithmetic.h"
#include "measure/effi_measure.h"
#include "measure/larb_measure.h"

static constexpr u32 ns_per_us = 1000;

// A larb under measurement.
struct larb_run {
    const register_window &window;
    u32 id;
    const port_group &group;
    u32 time;
    larb_stat &stat;
};

static bool allocate_ports(larb_stat &stat, u32 ports) {
    return stat.r_bw.allocate(ports) && stat.w_bw.allocate(ports) && stat.max_cp.allocate(ports) &&
           stat.ostdl.allocate(ports) && stat.force_ultra.allocate(ports) &&
           stat.force_pultra.allocate(ports) && stat.ultra_ratio.allocate(ports) &&
           stat.pultra_ratio.allocate(ports) && stat.effi.allocate(ports) &&
           stat.burst.allocate(ports);
}

bool larb_report_prepare(const bw_module &module, larb_stats &stats) {
    for (u32 j = 0; j < module.larb_cnt; j++) {
        if (!stats[j].allocate() || !allocate_ports(*stats[j], module.larb_ports[j].port_cnt)) {
            return false;
        }
    }
    return true;
}

static void run_monitor(const larb_run &run, u32 port, u32 mode) {
    run.window.write32(larb_monitor_clear, 1);
    run.window.write32(larb_monitor_ports, port);
    run.window.write32(larb_monitor_mode, mode);
    larb_monitor_count(run.window, run.time);
}

static void trace_traffic(const larb_run &run, u32 i, u32 mode, u64 bandwidth,
                          const effi_result &sample) {
    const bool read = mode == larb_mode_read;
    const larb_stat &stat = run.stat;

    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] SMI Larb: %u port: %d type: %s\033[K\n", run.id,
               static_cast<int>(run.group.ports[i]), read ? "R" : "W");
    }
    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] %s: %llu, effi: %u, ", read ? "r_bw" : "w_bw", bandwidth,
               stat.effi[i]);
    }
    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] cnt_ultra: %llu, cnt_pultra: %llu CMD_NUM: %d\033[K\n",
               sample.cnt_ultra, sample.cnt_pultra, effi_span);
    }
    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] r_ultra: %u, r_pultra: %u, burst: %u\033[K\n",
               stat.ultra_ratio[i], stat.pultra_ratio[i], stat.burst[i]);
    }
    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] larb_data_bw: %llu, larb_bus_bw: %llu \033[K\n", stat.data_bw,
               stat.bus_bw);
    }
    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "\033[K\n");
    }
}

static void measure_port_efficiency(const larb_run &run, u32 i, u32 mode, u64 bandwidth) {
    larb_stat &stat = run.stat;
    effi_result sample{};

    stat.effi[i] =
        effi_measure(static_cast<s32>(run.id), run.group.ports[i], EFFI_LARB_DETAIL, sample);
    stat.ultra_ratio[i] = static_cast<u32>(requests_to_percent(sample.cnt_ultra));
    stat.pultra_ratio[i] = static_cast<u32>(requests_to_percent(sample.cnt_pultra));
    stat.burst[i] = static_cast<u32>(sample.burst);
    stat.data_bw += bandwidth;
    stat.bus_bw += bus_bandwidth(bandwidth, stat.effi[i]);
    trace_traffic(run, i, mode, bandwidth, sample);
}

// What a port's efficiency monitor found in the write phase replaces what it found in the read
// phase.
static void measure_direction(const larb_run &run, u32 mode, owned_array<u64> &bandwidth) {
    for (u32 i = 0; i < run.group.port_cnt && !is_killed(); i++) {
        run_monitor(run, run.group.ports[i], mode);
        const u32 bytes = run.window.read32(larb_monitor_data) * larb_data_unit;
        bandwidth[i] = to_mb_per_second(divide_or_zero(bytes, run.time));
        if (bandwidth[i] != 0) {
            measure_port_efficiency(run, i, mode, bandwidth[i]);
        }
    }
}

static void measure_command_periods(const larb_run &run) {
    for (u32 i = 0; i < run.group.port_cnt && !is_killed(); i++) {
        run_monitor(run, run.group.ports[i], larb_mode_command_period);
        const u64 cycles = run.window.read32(larb_monitor_max_period);
        run.stat.max_cp[i] = static_cast<u32>(divide_or_zero(cycles * ns_per_us, smi_clock));
    }
}

static u8 port_bit(const register_window &window, u32 offset, u32 port) {
    return port < larb_ports_max ? static_cast<u8>((window.read32(offset) >> port) & 1) : 0;
}

static u32 outstanding_limit(const register_window &window, u32 port) {
    return port < larb_outstanding_registers
               ? window.read32(larb_outstanding_of(port)) & larb_outstanding_mask
               : 0;
}

// Settings that have no register are 0.
static void read_settings(const larb_run &run) {
    larb_stat &stat = run.stat;

    for (u32 i = 0; i < run.group.port_cnt; i++) {
        const u32 port = run.group.ports[i];
        stat.ostdl[i] = outstanding_limit(run.window, port);
        stat.force_ultra[i] = port_bit(run.window, larb_force_ultra, port);
        stat.force_pultra[i] = port_bit(run.window, larb_force_pultra, port);
    }
}

void larb_report_measure(const bw_module &module, u32 time, larb_stats &stats) {
    for (u32 j = 0; j < module.larb_cnt && !is_killed(); j++) {
        stats[j]->larb_idx = j;
        if (!is_stored(module.larb_ports[j])) {
            continue;
        }
        const register_window window = map_block(larb_block, module.larb_ids[j]);
        if (!window) {
            return;
        }
        const larb_run run{window, module.larb_ids[j], module.larb_ports[j], time, *stats[j]};
        measure_direction(run, larb_mode_read, stats[j]->r_bw);
        measure_direction(run, larb_mode_write, stats[j]->w_bw);
        measure_command_periods(run);
        read_settings(run);
    }
}
