// SPDX-License-Identifier: GPL-2.0-only
#include "measure/smi_common_measure.h"

#include "base/device_node.h"
#include "base/shared.h"
#include "measure/effi_measure.h"
#include "measure/smi_monitor.h"

static constexpr smi_direction directions[] = {SMI_READ, SMI_WRITE};

static bool read_port_count(const device_node *node, const char *property, u32 &count) {
    if (read_u32(node, property, count)) {
        return true;
    }
    printk(KERN_ERR "[OVK_BW]can't get property: %s\n", property);
    return false;
}

int get_smi_common_port_info(u32 &inputs, u32 &outputs, u32 id) {
    const node_ref node = find_numbered_node(smi_common_block.node_prefix, id);

    if (!node || !read_port_count(node.get(), "input-port-nr", inputs) ||
        !read_port_count(node.get(), "output-port-nr", outputs)) {
        return -1;
    }
    return 0;
}

void comm_bw_measure(const register_window &common, const port_group &group, u32 time,
                     total_result &result) {
    u32 inputs = 0;
    u32 outputs = 0;

    if (get_smi_common_port_info(inputs, outputs, group.id) != 0) {
        printk(KERN_ERR "[OVK_BW]Can't get smi common port info!!\n");
    }
    for (const smi_direction direction : directions) {
        for (u32 i = 0; i < group.port_cnt && !is_killed(); i++) {
            smi_monitor_run_port(common, outputs + group.ports[i], direction, time);
            const u32 bandwidth = smi_monitor_bandwidth(common, time);
            if (bandwidth != 0) {
                add_port(result, bandwidth,
                         effi_measure(group.id, group.ports[i], EFFI_COMMON_TOTAL));
            }
        }
    }
}
