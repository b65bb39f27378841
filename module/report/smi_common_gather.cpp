// SPDX-License-Identifier: GPL-2.0-only
#include "report/smi_common_gather.h"

#include "base/arithmetic.h"
#include "base/device_node.h"
#include "base/trace.h"
#include "core/config.h"
#include "measure/effi_measure.h"
#include "measure/smi_common_measure.h"
#include "measure/smi_monitor.h"
#include "registers/effi_monitor.h"

// SMI commons are numbered from 0 to this.
static constexpr u32 common_number_max = 63;

// The first available SMI common from number `from` on. False: there is none.
static bool find_common(u32 from, u32 &number) {
    for (u32 n = from; n <= common_number_max; n++) {
        const node_ref node = find_numbered_node(smi_common_block.node_prefix, n);
        if (node && of_device_is_available(node.get())) {
            number = n;
            return true;
        }
    }
    return false;
}

static bool prepare_common(comm_result &result) {
    if (get_smi_common_port_info(result.in_cnt, result.out_cnt, result.id) != 0) {
        printk(KERN_ERR "[OVK_BW]Can't get smi common port info!!\n");
        return false;
    }
    if (!result.ports.allocate(size_t{result.in_cnt} + result.out_cnt)) {
        printk(KERN_ERR "[OVK_BW]Can't malloc comm result!!\n");
        return false;
    }
    return true;
}

bool smi_common_prepare(smi_common_results &results) {
    u32 next = 0;

    if (!results.commons.allocate(smi_common_cnt)) {
        return false;
    }
    for (results.found = 0; results.found < smi_common_cnt; results.found++) {
        owned<comm_result> &common = results.commons[results.found];
        if (!common.allocate()) {
            return false;
        }
        if (!find_common(next, common->id)) {
            printk("%s", smi_common_block.missing);
            return true;
        }
        if (!prepare_common(*common)) {
            return false;
        }
        next = common->id + 1;
    }
    return true;
}

static void gather_direction(const register_window &window, smi_direction direction, u32 time,
                             comm_result &result) {
    for (u32 p = 0; p < result.in_cnt + result.out_cnt && !is_killed(); p++) {
        comm_port &port = result.ports[p];
        smi_monitor_run_port(window, p, direction, time);
        const u64 bandwidth = to_mb_per_second(smi_monitor_bandwidth(window, time));
        (direction == SMI_READ ? port.r_bw : port.w_bw) = bandwidth;
        (direction == SMI_READ ? port.max_rcp : port.max_wcp) = smi_monitor_period(window);
    }
}

static void trace_input(u32 common, u32 input, const comm_port &port, const effi_sample &sample) {
    if (is_killed()) {
        return;
    }
    TRACE("[OVK-BW] SMI Common: %u port: %d\033[K\n", common, static_cast<int>(input));
    TRACE("[OVK-BW] r_bw: %llu, w_bw: %llu, effi: %u, ", port.r_bw, port.w_bw, port.effi);
    TRACE("[OVK-BW] cnt_ultra: %llu, cnt_pultra: %llu CMD_NUM: %d\033[K\n", sample.ultra,
          sample.pultra, effi_span);
    TRACE("[OVK-BW] r_ultra: %u, r_pultra: %u, burst: %u\033[K\n", port.r_ultra, port.r_pultra,
          port.burst);
}

static void gather_efficiency(u32 common, u32 input, comm_port &port) {
    const effi_sample sample = effi_measure(common, input, EFFI_COMMON_DETAIL);

    port.effi = sample.efficiency;
    port.r_ultra = static_cast<u32>(requests_to_percent(sample.ultra));
    port.r_pultra = static_cast<u32>(requests_to_percent(sample.pultra));
    port.burst = static_cast<u32>(sample.burst);
    trace_input(common, input, port, sample);
}

static void gather_common(const register_window &window, u32 time, comm_result &result) {
    gather_direction(window, SMI_READ, time, result);
    gather_direction(window, SMI_WRITE, time, result);
    for (u32 input = 0; input < result.in_cnt && !is_killed(); input++) {
        comm_port &port = result.ports[result.out_cnt + input];
        if (has_traffic(port)) {
            gather_efficiency(result.id, input, port);
        }
    }
}

void smi_common_gather(u32 time, smi_common_results &results) {
    for (u32 k = 0; k < results.found && !is_killed(); k++) {
        const register_window window = map_block(smi_common_block, results.commons[k]->id);
        if (!window) {
            return;
        }
        gather_common(window, time, *results.commons[k]);
    }
}
