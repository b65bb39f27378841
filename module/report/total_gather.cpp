// SPDX-License-Identifier: GPL-2.0-only
#include "report/total_gather.h"

#include "base/arithmetic.h"
#include "base/shared.h"
#include "core/config.h"
#include "measure/dram_counter.h"
#include "measure/effi_measure.h"
#include "measure/larb_measure.h"
#include "measure/smi_common_measure.h"
#include "registers/larb.h"
#include "registers/smi_common.h"

// Efficiencies (percent) of modules whose monitor, if they have one, is fixed.
static constexpr u32 default_processor_effi = 64;
static constexpr u32 reference_effi = 70;
static constexpr u32 cpu_monitors[] = {0, 1};
static constexpr u32 gpu_monitor = 7;

static constexpr u32 proc_without_larbs = 1;

total_result &sum_result(total_results &results) {
    return sum_known ? *results.modules[sum_id] : results.unlisted_sum;
}

bool is_left_out(const bw_module &module) {
    return module.larb_cnt != 0 && READ_ONCE(total_mon_cfg.proc) == proc_without_larbs;
}

static u32 fixed_effi(u32 monitor) {
    return effi_measure(0, monitor, EFFI_MONITOR).efficiency;
}

static u32 seed_effi(const bw_module &module) {
    if (has_name(module, "REF_EMI")) {
        return reference_effi;
    }
    const bool cpu = has_name(module, "CPU");
    if (!cpu && !has_name(module, "GPU")) {
        return 0;
    }
    if (emi_effi_mon == 0) {
        return default_processor_effi;
    }
    if (!cpu) {
        return fixed_effi(gpu_monitor);
    }
    const u32 first = fixed_effi(cpu_monitors[0]);
    return (first + fixed_effi(cpu_monitors[1])) / 2;
}

static bool allocate_larb_ports(const bw_module &module, total_result &result) {
    for (u32 j = 0; j < module.larb_cnt; j++) {
        result.larb_port_cnt += module.larb_ports[j].port_cnt;
    }
    return result.port_bw.allocate(result.larb_port_cnt) &&
           result.effi.allocate(result.larb_port_cnt);
}

static bool prepare(total_results &results) {
    for (u32 i = 0; i < module_cnt; i++) {
        const bw_module &module = mlist[i];
        if (!results.modules[i].allocate()) {
            return false;
        }
        total_result &result = *results.modules[i];
        result.module_effi = seed_effi(module);
        if (module.larb_cnt != 0 && !allocate_larb_ports(module, result)) {
            return false;
        }
    }
    return true;
}

static void gather_by_dram_counter(dram_traffic traffic, u32 time, total_result &result) {
    result.data_bw = to_mb_per_second(dram_counter_measure(traffic, time));
    result.bus_bw = bus_bandwidth(result.data_bw, result.module_effi);
}

// False: a larb can't be had, and what is left of the module is not measured.
static bool gather_larbs(mon_cfg &cfg, const bw_module &module, total_result &result) {
    cfg.port_ofs = 0;
    for (cfg.larb_idx = 0; cfg.larb_idx < module.larb_cnt && !is_killed(); cfg.larb_idx++) {
        const port_group &group = module.larb_ports[cfg.larb_idx];
        if (!is_stored(group)) {
            continue;
        }
        const register_window larb = map_block(larb_block, group.id);
        if (!larb) {
            return false;
        }
        larb_bw_measure(larb, group, cfg.time, cfg.port_ofs, result);
        cfg.port_ofs += group.port_cnt;
    }
    return true;
}

static void gather_commons(mon_cfg &cfg, const bw_module &module, total_result &result) {
    for (cfg.common_idx = 0; cfg.common_idx < module.common_cnt && !is_killed(); cfg.common_idx++) {
        const port_group &group = module.common_ports[cfg.common_idx];
        if (!is_stored(group)) {
            continue;
        }
        const register_window common = map_block(smi_common_block, group.id);
        if (!common) {
            return;
        }
        comm_bw_measure(common, group, cfg.time, result);
    }
}

static void finish_priorities(total_result &result) {
    const auto mean_percent = [&result](u64 weighted_counts) {
        return static_cast<u32>(
            requests_to_percent(divide_or_zero(weighted_counts, result.data_bw)));
    };

    result.ultra_pct = mean_percent(result.ultra_sum);
    result.pultra_pct = mean_percent(result.pultra_sum);
}

static void finish_bandwidth(total_result &result) {
    result.bus_bw = to_mb_per_second(result.bus_bw);
    result.data_bw = to_mb_per_second(result.data_bw);
    result.module_effi = static_cast<u32>(divide_or_zero(result.data_bw * 100, result.bus_bw));
}

// A module of which only a part could be measured is finished like any other, so that SUM never
// adds up different units.
static void gather_by_smi(mon_cfg &cfg, const bw_module &module, total_result &result) {
    const bool apu = has_name(module, "APU");

    if (apu || gather_larbs(cfg, module, result)) {
        gather_commons(cfg, module, result);
    }
    if (!apu) {
        finish_priorities(result);
    }
    finish_bandwidth(result);
}

static void gather_module(mon_cfg &cfg, const bw_module &module, total_result &result) {
    if (has_name(module, "CPU")) {
        gather_by_dram_counter(dram_traffic::cpu, cfg.time, result);
    } else if (has_name(module, "GPU")) {
        gather_by_dram_counter(dram_traffic::gpu, cfg.time, result);
    } else if (has_name(module, "REF_EMI")) {
        gather_by_dram_counter(dram_traffic::all, cfg.time, result);
    } else {
        gather_by_smi(cfg, module, result);
    }
}

static void gather_modules(mon_cfg &cfg, total_results &results) {
    total_result &sum = sum_result(results);

    for (u32 i = 0; i < module_cnt && !is_killed(); i++) {
        const bw_module &module = mlist[i];
        total_result &result = *results.modules[i];
        if (!is_enabled(module) || is_sum(i) || (is_ref_emi(i) && is_left_out(module))) {
            continue;
        }
        cfg.module_id = i;
        cfg.name = module.name;
        gather_module(cfg, module, result);
        if (!is_ref_emi(i)) {
            sum.data_bw += result.data_bw;
            sum.bus_bw += result.bus_bw;
        }
    }
}

// The priorities of all modules together are the means weighted by their share of the bus.
static void finish_sum(total_results &results) {
    total_result &sum = sum_result(results);

    sum.module_effi = static_cast<u32>(divide_or_zero(sum.data_bw * 100, sum.bus_bw));
    for (u32 k = 0; k < module_cnt; k++) {
        if (!is_enabled(mlist[k]) || is_sum(k) || is_ref_emi(k) || is_left_out(mlist[k])) {
            continue;
        }
        const total_result &result = *results.modules[k];
        const u32 share = static_cast<u32>(divide_or_zero(result.bus_bw * 100, sum.bus_bw));
        sum.ultra_pct += share * result.ultra_pct;
        sum.pultra_pct += share * result.pultra_pct;
    }
    sum.ultra_pct /= 100;
    sum.pultra_pct /= 100;
}

int total_gather(mon_cfg &cfg, total_results &results) {
    if (!results.modules.allocate(module_cnt)) {
        return -ENOMEM;
    }
    const measurement_lock lock;
    if (lock.error() != 0) {
        return lock.error();
    }
    if (!prepare(results)) {
        return -ENOMEM;
    }
    cfg.time = READ_ONCE(total_mon_cfg.time);
    gather_modules(cfg, results);
    finish_sum(results);
    return lock.error();
}

total_usage usage_of(const total_result &sum) {
    const s64 slack = static_cast<s64>(total_bw) - static_cast<s64>(sum.bus_bw);

    return {.bus_bw = sum.bus_bw,
            .percent = divide_or_zero(sum.bus_bw * 100, total_bw),
            .slack = slack,
            .slack_percent = divide_or_zero(slack * 100, s64{total_bw})};
}
