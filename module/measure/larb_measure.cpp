// SPDX-License-Identifier: GPL-2.0-only
#include "measure/larb_measure.h"

#include "core/module_list.h"
#include "core/shared.h"
#include "measure/arithmetic.h"
#include "measure/effi_measure.h"

static constexpr u64 us_per_ms = 1000;
static constexpr u32 bits_per_port = 8;

// Up to four ports of one larb, with the position of the first among the module's larb ports.
struct port_batch {
    u32 larb;
    const u32 *ports;
    u32 count;
    u32 first;
};

void larb_monitor_count(const register_window &larb, u32 time) {
    wmb();
    larb.write32(larb_monitor_run, 1);
    usleep_range(time * us_per_ms, time * us_per_ms);
    larb.write32(larb_monitor_run, 0);
}

static void run_monitor(const register_window &larb, const port_batch &batch, u32 time) {
    u32 selection = 0;

    for (u32 k = 0; k < batch.count; k++) {
        selection |= batch.ports[k] << (bits_per_port * k);
    }
    larb.write32(larb_monitor_clear, 1);
    larb.write32(larb_monitor_mode, larb_mode_four_ports);
    larb.write32(larb_monitor_ports, selection);
    larb_monitor_count(larb, time);
}

static void measure_batch(const measure_cfg &cfg, const port_batch &batch, total_result &result) {
    const register_window &larb = cfg.base[0];

    run_monitor(larb, batch, cfg.time);
    for (u32 k = 0; k < batch.count; k++) {
        const u32 bytes = larb.read32(larb_monitor_counter + k * sizeof(u32));
        result.port_bw[batch.first + k] = divide_or_zero(bytes, cfg.time);
    }
    for (u32 k = 0; k < batch.count; k++) {
        const u64 bandwidth = result.port_bw[batch.first + k];
        if (bandwidth != 0) {
            const effi_sample sample =
                effi_take_sample(static_cast<s32>(batch.larb), batch.ports[k], EFFI_LARB_TOTAL);
            result.effi[batch.first + k] = sample.efficiency;
            add_port(result, bandwidth, sample);
        }
    }
}

void larb_bw_measure(const measure_cfg &cfg, total_result &result) {
    const bw_module &module = mlist[cfg.module_id];
    const port_group &group = module.larb_ports[cfg.larb_idx];

    for (u32 done = 0; done < group.port_cnt && !is_killed(); done += larb_ports_at_once) {
        const u32 left = group.port_cnt - done;
        const port_batch batch{.larb = module.larb_ids[cfg.larb_idx],
                               .ports = &group.ports[done],
                               .count = left < larb_ports_at_once ? left : larb_ports_at_once,
                               .first = cfg.port_ofs + done};
        measure_batch(cfg, batch, result);
    }
}
