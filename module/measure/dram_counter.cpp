// SPDX-License-Identifier: GPL-2.0-only
#include "measure/dram_counter.h"

#include "base/arithmetic.h"
#include "base/shared.h"
#include "core/config.h"

static u64 read_counts(const emi_channels &channels, dram_traffic traffic) {
    u64 sum = 0;

    for (u32 channel = 0; channel < emi_cnt; channel++) {
        sum += emi_read_count(channels.base[channel], traffic);
    }
    return sum;
}

u64 dram_counter_measure(dram_traffic traffic, u32 time) {
    const emi_lock lock;
    emi_channels channels;

    if (lock.error() != 0 || emi_set_base(channels) != 0 || emi_cnt == 0) {
        return 0;
    }
    emi_start_count(channels.base[0], traffic, time);
    const bool done = emi_wait_done(channels.base[0], time);
    const u64 counts = done ? read_counts(channels, traffic) : 0;
    emi_stop_count(channels.base[0], done);
    return divide_or_zero(counts * emi_counter_unit, time);
}
