// SPDX-License-Identifier: GPL-2.0-only
#include "report/scomm_measure.h"

#include "core/config.h"
#include "core/shared.h"
#include "debug/debug_log.h"
#include "measure/arithmetic.h"
#include "measure/comm_measure.h"
#include "measure/effi_measure.h"

// SMI commons are numbered from 0 to this.
static constexpr u32 common_number_max = 63;

static constexpr u32 ns_per_us = 1000;

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

static bool allocate_ports(comm_result &result) {
    const size_t ports = size_t{result.in_cnt} + result.out_cnt;
    const bool all[] = {result.r_bw.allocate(ports),    result.max_rcp.allocate(ports),
                        result.w_bw.allocate(ports),    result.max_wcp.allocate(ports),
                        result.r_ultra.allocate(ports), result.r_pultra.allocate(ports),
                        result.effi.allocate(ports),    result.burst.allocate(ports)};

    for (const bool allocated : all) {
        if (!allocated) {
            printk(KERN_ERR "[OVK_BW]Can't malloc comm result!!\n");
            return false;
        }
    }
    return true;
}

static bool prepare_common(comm_result &result) {
    if (get_smi_common_port_info(&result.in_cnt, &result.out_cnt, static_cast<s32>(result.id)) !=
        0) {
        printk(KERN_ERR "[OVK_BW]Can't get smi common port info!!\n");
        return false;
    }
    return allocate_ports(result);
}

bool scomm_prepare(scomm_results &results) {
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

static void measure_direction(const measure_cfg &cfg, smi_direction direction, u32 ports,
                              owned_array<u64> &bandwidth, owned_array<u32> &period) {
    const register_window &common = cfg.base[0];

    for (u32 port = 0; port < ports && !is_killed(); port++) {
        smi_monitor_measure(common, port, direction, cfg.time);
        bandwidth[port] = to_mb_per_second(smi_monitor_bandwidth(common, cfg.time));
        const u64 cycles = common.read32(smi_monitor_max_period);
        period[port] = static_cast<u32>(divide_or_zero(cycles * ns_per_us, smi_clock));
    }
}

static void trace_input(const comm_result &result, u32 input, const effi_result &sample) {
    const u32 port = result.out_cnt + input;

    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] SMI Common: %u port: %d\033[K\n", result.id,
               static_cast<int>(input));
    }
    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] r_bw: %llu, w_bw: %llu, effi: %u, ", result.r_bw[port],
               result.w_bw[port], result.effi[port]);
    }
    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] cnt_ultra: %llu, cnt_pultra: %llu CMD_NUM: %d\033[K\n",
               sample.cnt_ultra, sample.cnt_pultra, effi_span);
    }
    if (READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] r_ultra: %u, r_pultra: %u, burst: %u\033[K\n",
               result.r_ultra[port], result.r_pultra[port], result.burst[port]);
    }
}

static void measure_input_efficiency(comm_result &result, u32 input) {
    const u32 port = result.out_cnt + input;
    effi_result sample{};

    result.effi[port] =
        effi_measure(static_cast<s32>(result.id), input, EFFI_COMMON_DETAIL, sample);
    result.r_ultra[port] = static_cast<u32>(requests_to_percent(sample.cnt_ultra));
    result.r_pultra[port] = static_cast<u32>(requests_to_percent(sample.cnt_pultra));
    result.burst[port] = static_cast<u32>(sample.burst);
    trace_input(result, input, sample);
}

static void measure_common(const measure_cfg &cfg, comm_result &result) {
    const u32 ports = result.in_cnt + result.out_cnt;

    measure_direction(cfg, SMI_READ, ports, result.r_bw, result.max_rcp);
    measure_direction(cfg, SMI_WRITE, ports, result.w_bw, result.max_wcp);
    for (u32 input = 0; input < result.in_cnt && !is_killed(); input++) {
        const u32 port = result.out_cnt + input;
        if (result.r_bw[port] != 0 || result.w_bw[port] != 0) {
            measure_input_efficiency(result, input);
        }
    }
}

void scomm_measure(measure_cfg &cfg, scomm_results &results) {
    for (u32 k = 0; k < results.found && !is_killed(); k++) {
        cfg.base[0] = map_block(smi_common_block, results.commons[k]->id);
        if (!cfg.base[0]) {
            return;
        }
        measure_common(cfg, *results.commons[k]);
        cfg.base[0].unmap();
    }
}
