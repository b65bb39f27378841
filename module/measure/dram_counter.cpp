// SPDX-License-Identifier: GPL-2.0-only
#include "measure/dram_counter.h"

#include "core/config.h"
#include "core/shared.h"
#include "measure/arithmetic.h"
#include "measure/emi_registers.h"
#include "measure/emi_window.h"

// The CPU's two EMI ports and the GPU's, as slot 0 selects them.
static constexpr u32 cpu_ports = 0x3u << emi_slot_port_shift;
static constexpr u32 gpu_port = 0x80u << emi_slot_port_shift;

static void clear_monitor(const register_window &channel0) {
    static constexpr u32 cleared[] = {
        emi_monitor_control, emi_monitor_clear_440, emi_monitor_clear_468,
        emi_monitor_filter,  emi_monitor_clear_4b0, emi_slot0_config,
    };

    for (const u32 offset : cleared) {
        channel0.write32(offset, 0);
    }
}

// Each channel has its own value here, but channel 0's goes to all: it is read with broadcast off
// and written with broadcast on.
static void enable_slot_auxiliary(const register_window &channel0) {
    enable_broadcast_mode(false);
    const u32 auxiliary = channel0.read32(emi_slot0_auxiliary);
    enable_broadcast_mode(true);
    channel0.write32(emi_slot0_auxiliary, auxiliary | emi_slot_auxiliary_enable);
}

static void select_ports(const register_window &channel0, dram_traffic traffic) {
    if (traffic == dram_traffic::cpu) {
        channel0.update64(emi_slot0_config, 0, cpu_ports);
    } else if (traffic == dram_traffic::gpu) {
        channel0.update64(emi_slot0_config, 0, gpu_port);
    }
}

static void start(const measure_cfg &cfg, dram_traffic traffic) {
    const register_window &channel0 = cfg.base[0];

    enable_broadcast_mode(true);
    channel0.update64(emi_monitor_enable, 0, emi_monitor_enable_bit);
    clear_monitor(channel0);
    channel0.write32(emi_monitor_length, emi_run_length(cfg.time));
    channel0.update64(emi_slot0_config, 0, emi_slot_enable);
    enable_slot_auxiliary(channel0);
    select_ports(channel0, traffic);
    channel0.update64(emi_monitor_control, 0, emi_monitor_start);
    wmb();
    enable_broadcast_mode(false);
}

static u64 read_counters(const measure_cfg &cfg, u32 counter) {
    u64 sum = 0;

    for (u32 channel = 0; channel < emi_cnt; channel++) {
        sum += cfg.base[channel].read32(counter);
    }
    return sum;
}

// A run that has not ended by itself is cut off.
static void stop(const register_window &channel0, bool done) {
    enable_broadcast_mode(true);
    if (!done) {
        channel0.write32(emi_monitor_control, 0);
    }
    channel0.update64(emi_monitor_enable, emi_monitor_enable_bit, 0);
    enable_broadcast_mode(false);
}

u64 dram_counter_measure(measure_cfg &cfg, dram_traffic traffic) {
    const emi_lock lock;
    u64 bandwidth = 0;

    if (lock.error() != 0) {
        return 0;
    }
    if (emi_set_base(cfg) == 0 && emi_cnt > 0) {
        start(cfg, traffic);
        const bool done = emi_wait_done(cfg.base[0], cfg.time);
        if (done) {
            const u32 counter = traffic == dram_traffic::all ? emi_counter_all : emi_counter_slot0;
            bandwidth = divide_or_zero(read_counters(cfg, counter) * emi_counter_unit, cfg.time);
        }
        stop(cfg.base[0], done);
    }
    emi_release_base(cfg);
    return bandwidth;
}
