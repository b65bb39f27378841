// SPDX-License-Identifier: GPL-2.0-only
#include "measure/smi_monitor.h"

#include "base/arithmetic.h"
#include "core/config.h"

void smi_monitor_run_port(const register_window &common, u32 port, smi_direction direction,
                          u32 time) {
    common.write32(smi_monitor_clear, 1);
    common.write32(smi_monitor_port, (port << smi_monitor_port_shift) | smi_monitor_port_valid);
    common.write32(smi_monitor_direction, direction);
    wmb();
    common.write32(smi_monitor_run, 1);
    usleep_range(time * us_per_ms, time * us_per_ms);
    common.write32(smi_monitor_run, 0);
}

u32 smi_monitor_bandwidth(const register_window &common, u32 time) {
    return divide_or_zero(common.read32(smi_monitor_count) * smi_counter_unit, time);
}

u32 smi_monitor_period(const register_window &common) {
    return cycles_to_ns(common.read32(smi_monitor_max_period), smi_clock);
}
