// SPDX-License-Identifier: GPL-2.0-only
#include "measure/comm_measure.h"

#include "core/module_list.h"
#include "core/shared.h"
#include "measure/arithmetic.h"
#include "measure/effi_measure.h"

static constexpr u64 us_per_ms = 1000;
static constexpr smi_direction smi_directions[] = {SMI_READ, SMI_WRITE};

void smi_monitor_measure(const register_window &common, u32 port, smi_direction direction,
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

static bool read_port_count(const device_node *node, const char *property, u32 *count) {
    if (read_u32(node, property, *count)) {
        return true;
    }
    printk(KERN_ERR "[OVK_BW]can't get property: %s\n", property);
    return false;
}

s32 get_smi_common_port_info(u32 *inputs, u32 *outputs, s32 id) {
    const node_ref node = find_numbered_node(smi_common_block.node_prefix, static_cast<u32>(id));

    if (!node || !read_port_count(node.get(), "input-port-nr", inputs) ||
        !read_port_count(node.get(), "output-port-nr", outputs)) {
        return -1;
    }
    return 0;
}

static void measure_input(const measure_cfg &cfg, u32 common, u32 outputs, u32 port,
                          smi_direction direction, total_result &result) {
    smi_monitor_measure(cfg.base[0], outputs + port, direction, cfg.time);
    const u32 bandwidth = smi_monitor_bandwidth(cfg.base[0], cfg.time);
    if (bandwidth != 0) {
        add_port(result, bandwidth,
                 effi_take_sample(static_cast<s32>(common), port, EFFI_COMMON_TOTAL));
    }
}

void comm_bw_measure(const measure_cfg &cfg, total_result &result) {
    const bw_module &module = mlist[cfg.module_id];
    const u32 common = module.common_ids[cfg.common_idx];
    const port_group &group = module.common_ports[cfg.common_idx];
    u32 inputs = 0;
    u32 outputs = 0;

    if (get_smi_common_port_info(&inputs, &outputs, static_cast<s32>(common)) != 0) {
        printk(KERN_ERR "[OVK_BW]Can't get smi common port info!!\n");
    }
    for (const smi_direction direction : smi_directions) {
        for (u32 i = 0; i < group.port_cnt && !is_killed(); i++) {
            measure_input(cfg, common, outputs, group.ports[i], direction, result);
        }
    }
}
