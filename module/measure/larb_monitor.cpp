// SPDX-License-Identifier: GPL-2.0-only
#include "measure/larb_monitor.h"

#include "base/arithmetic.h"
#include "core/config.h"
#include "registers/larb.h"

static void run(const register_window &larb, u32 time) {
    wmb();
    larb.write32(larb_monitor_run, 1);
    usleep_range(time * us_per_ms, time * us_per_ms);
    larb.write32(larb_monitor_run, 0);
}

void larb_monitor_ports_run(const register_window &larb, const u32 *ports, u32 count, u32 time) {
    u32 selection = 0;

    for (u32 k = 0; k < count; k++) {
        selection |= ports[k] << (larb_bits_per_port * k);
    }
    larb.write32(larb_monitor_clear, 1);
    larb.write32(larb_monitor_mode, larb_mode_four_ports);
    larb.write32(larb_monitor_ports, selection);
    run(larb, time);
}

u32 larb_monitor_bytes(const register_window &larb, u32 k) {
    return larb.read32(larb_counter_of(k));
}

void larb_monitor_port_run(const register_window &larb, u32 port, u32 mode, u32 time) {
    larb.write32(larb_monitor_clear, 1);
    larb.write32(larb_monitor_ports, port);
    larb.write32(larb_monitor_mode, mode);
    run(larb, time);
}

u64 larb_monitor_bandwidth(const register_window &larb, u32 time) {
    return to_mb_per_second(divide_or_zero(larb.read32(larb_monitor_data) * larb_data_unit, time));
}

u32 larb_monitor_period(const register_window &larb) {
    return cycles_to_ns(larb.read32(larb_monitor_max_period), smi_clock);
}
