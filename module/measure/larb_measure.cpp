// SPDX-License-Identifier: GPL-2.0-only
#include "measure/larb_measure.h"

#include "base/shared.h"
#include "measure/effi_measure.h"
#include "measure/larb_monitor.h"
#include "registers/larb.h"

static void add_efficiency(u32 larb, u32 port, u32 entry, total_result &result) {
    const u64 bandwidth = result.port_bw[entry];

    if (bandwidth != 0) {
        const effi_sample sample = effi_measure(larb, port, EFFI_LARB_TOTAL);
        result.effi[entry] = sample.efficiency;
        add_port(result, bandwidth, sample);
    }
}

void larb_bw_measure(const register_window &larb, const port_group &group, u32 time, u32 first,
                     total_result &result) {
    for (u32 done = 0; done < group.port_cnt && !is_killed(); done += larb_ports_at_once) {
        const u32 left = group.port_cnt - done;
        const u32 count = left < larb_ports_at_once ? left : larb_ports_at_once;
        const u32 *ports = &group.ports[done];
        const u32 entries = first + done;

        larb_monitor_ports_run(larb, ports, count, time);
        for (u32 k = 0; k < count; k++) {
            result.port_bw[entries + k] = divide_or_zero(larb_monitor_bytes(larb, k), time);
        }
        for (u32 k = 0; k < count; k++) {
            add_efficiency(group.id, ports[k], entries + k, result);
        }
    }
}
