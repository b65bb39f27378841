// SPDX-License-Identifier: GPL-2.0-only
#include "report/emi_gather.h"

#include "core/config.h"
#include "core/shared.h"

static constexpr u32 assumed_effi = 70;

static bool allocate_ports(emi_result &result) {
    return result.data_bw.allocate(emi_port_cnt) && result.latency.allocate(emi_port_cnt) &&
           result.effi.allocate(emi_port_cnt) && result.burst.allocate(emi_port_cnt) &&
           result.arb.allocate(emi_port_cnt) && result.rd_ostd.allocate(emi_port_cnt) &&
           result.wr_ostd.allocate(emi_port_cnt);
}

static bool allocate_results(owned_array<emi_result> &results) {
    const size_t records = size_t{emi_cnt} + 1;

    if (!results.allocate(records)) {
        return false;
    }
    for (size_t i = 0; i < records; i++) {
        if (!allocate_ports(results[i])) {
            return false;
        }
        for (u32 port = 0; emi_effi_mon == 0 && port < emi_port_cnt; port++) {
            results[i].effi[port] = assumed_effi;
        }
    }
    return true;
}

ssize_t emi_gather(emi_results &results) {
    owned<measure_cfg> cfg;

    if (!cfg.allocate() || !allocate_results(results.records)) {
        return -ENOMEM;
    }
    const measurement_lock lock;
    if (lock.error() != 0) {
        return lock.error();
    }
    cfg->time = READ_ONCE(emi_mon_cfg.time);
    const s32 error = emi_measure_wrap(*cfg, results);
    if (lock.error() != 0) {
        return lock.error();
    }
    return error < 0 ? -1 : 0;
}
