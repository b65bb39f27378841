// SPDX-License-Identifier: GPL-2.0-only
#include "report/emi_gather.h"

#include "base/shared.h"
#include "core/config.h"
#include "core/mon_cfg.h"

static constexpr u32 assumed_effi = 70;

static bool allocate_records(owned_array<emi_result> &records) {
    const size_t count = size_t{emi_cnt} + 1;

    if (!records.allocate(count)) {
        return false;
    }
    for (size_t i = 0; i < count; i++) {
        if (!records[i].ports.allocate(emi_port_cnt)) {
            return false;
        }
        for (u32 port = 0; emi_effi_mon == 0 && port < emi_port_cnt; port++) {
            records[i].ports[port].effi = assumed_effi;
        }
    }
    return true;
}

int emi_gather(emi_results &results) {
    if (!allocate_records(results.records)) {
        return -ENOMEM;
    }
    const measurement_lock lock;
    if (lock.error() != 0) {
        return lock.error();
    }
    const int error = emi_measure_wrap(READ_ONCE(emi_mon_cfg.time), results);
    if (lock.error() != 0) {
        return lock.error();
    }
    return error < 0 ? -1 : 0;
}
