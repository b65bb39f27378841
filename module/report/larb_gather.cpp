// SPDX-License-Identifier: GPL-2.0-only
#include "report/larb_gather.h"

#include "base/arithmetic.h"
#include "base/register_window.h"
#include "base/trace.h"
#include "measure/effi_measure.h"
#include "measure/larb_monitor.h"
#include "registers/effi_monitor.h"
#include "registers/larb.h"

// A larb under measurement.
struct larb_run {
    const register_window &window;
    const port_group &group;
    u32 time;
    larb_stat &stat;
};

bool larb_prepare(const bw_module &module, larb_stats &stats) {
    for (u32 j = 0; j < module.larb_cnt; j++) {
        if (!stats[j].allocate() || !stats[j]->ports.allocate(module.larb_ports[j].port_cnt)) {
            return false;
        }
    }
    return true;
}

static void trace_port(const larb_run &run, u32 i, bool read, u64 bandwidth,
                       const effi_sample &sample) {
    const larb_port &port = run.stat.ports[i];

    if (is_killed()) {
        return;
    }
    TRACE("[OVK-BW] SMI Larb: %u port: %d type: %s\033[K\n", run.group.id,
          static_cast<int>(run.group.ports[i]), read ? "R" : "W");
    TRACE("[OVK-BW] %s: %llu, effi: %u, ", read ? "r_bw" : "w_bw", bandwidth, port.effi);
    TRACE("[OVK-BW] cnt_ultra: %llu, cnt_pultra: %llu CMD_NUM: %d\033[K\n", sample.ultra,
          sample.pultra, effi_span);
    TRACE("[OVK-BW] r_ultra: %u, r_pultra: %u, burst: %u\033[K\n", port.ultra_ratio,
          port.pultra_ratio, port.burst);
    TRACE("[OVK-BW] larb_data_bw: %llu, larb_bus_bw: %llu \033[K\n", run.stat.data_bw,
          run.stat.bus_bw);
    TRACE("\033[K\n");
}

static void gather_efficiency(const larb_run &run, u32 i, bool read, u64 bandwidth) {
    larb_port &port = run.stat.ports[i];
    const effi_sample sample = effi_measure(run.group.id, run.group.ports[i], EFFI_LARB_DETAIL);

    port.effi = sample.efficiency;
    port.ultra_ratio = static_cast<u32>(requests_to_percent(sample.ultra));
    port.pultra_ratio = static_cast<u32>(requests_to_percent(sample.pultra));
    port.burst = static_cast<u32>(sample.burst);
    run.stat.data_bw += bandwidth;
    run.stat.bus_bw += bus_bandwidth(bandwidth, port.effi);
    trace_port(run, i, read, bandwidth, sample);
}

// What a port's efficiency monitor found in the write phase replaces what it found in the read
// phase.
static void gather_direction(const larb_run &run, bool read) {
    for (u32 i = 0; i < run.group.port_cnt && !is_killed(); i++) {
        larb_monitor_port_run(run.window, run.group.ports[i],
                              read ? larb_mode_read : larb_mode_write, run.time);
        const u64 bandwidth = larb_monitor_bandwidth(run.window, run.time);
        (read ? run.stat.ports[i].r_bw : run.stat.ports[i].w_bw) = bandwidth;
        if (bandwidth != 0) {
            gather_efficiency(run, i, read, bandwidth);
        }
    }
}

static void gather_periods(const larb_run &run) {
    for (u32 i = 0; i < run.group.port_cnt && !is_killed(); i++) {
        larb_monitor_port_run(run.window, run.group.ports[i], larb_mode_command_period, run.time);
        run.stat.ports[i].max_cp = larb_monitor_period(run.window);
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
static void gather_settings(const larb_run &run) {
    for (u32 i = 0; i < run.group.port_cnt; i++) {
        const u32 id = run.group.ports[i];
        larb_port &port = run.stat.ports[i];
        port.ostdl = outstanding_limit(run.window, id);
        port.force_ultra = port_bit(run.window, larb_force_ultra, id);
        port.force_pultra = port_bit(run.window, larb_force_pultra, id);
    }
}

void larb_gather(const bw_module &module, u32 time, larb_stats &stats) {
    for (u32 j = 0; j < module.larb_cnt && !is_killed(); j++) {
        const port_group &group = module.larb_ports[j];
        if (!is_stored(group)) {
            continue;
        }
        const register_window window = map_block(larb_block, group.id);
        if (!window) {
            return;
        }
        const larb_run run{window, group, time, *stats[j]};
        gather_direction(run, true);
        gather_direction(run, false);
        gather_periods(run);
        gather_settings(run);
    }
}
