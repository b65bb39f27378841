// SPDX-License-Identifier: GPL-2.0-only
#include "measure/emi_window.h"

#include "core/config.h"
#include "core/shared.h"
#include "measure/emi_registers.h"

static constexpr u32 dispatch_on = 0x7f7f;
static constexpr u32 dispatch_off = 0;
// For one, two and three channels.
static constexpr u32 dispatch_targets[] = {0, 0x2, 0x7f02};
static constexpr u32 dispatch_rules = sizeof(dispatch_targets) / sizeof(dispatch_targets[0]);

static constexpr u64 done_wait_slack_ms = 100;

s32 emi_set_base(measure_cfg &cfg) {
    for (u32 i = 0; i < emi_cnt; i++) {
        if (i >= measure_cfg::windows) {
            return -ENXIO;
        }
        cfg.base[i] = map_block(emi_channel_block, i);
        if (!cfg.base[i]) {
            return -ENXIO;
        }
    }
    return 0;
}

void emi_release_base(measure_cfg &cfg) {
    for (register_window &window : cfg.base) {
        window.unmap();
    }
}

// Stores to two blocks are not ordered by themselves: what was stored to a channel before has to
// arrive under the old mode.
static void write_dispatch(const register_window &dispatch, u32 enable, u32 targets) {
    wmb();
    dispatch.write32(emi_dispatch_enable, enable);
    dispatch.write32(emi_dispatch_targets, targets);
}

void enable_broadcast_mode(bool on) {
    const register_window dispatch = map_block(emi_dispatch_block, 0);

    if (!dispatch) {
        return;
    }
    if (!on) {
        write_dispatch(dispatch, dispatch_off, dispatch_off);
    } else if (emi_cnt >= 1 && emi_cnt <= dispatch_rules) {
        write_dispatch(dispatch, dispatch_on, dispatch_targets[emi_cnt - 1]);
    } else {
        printk(KERN_ERR "[OVK_BW]wrong Dispatch Rule\n");
    }
    wmb();
}

u32 emi_run_length(u32 time) {
    return time * emi_clock * emi_cycles_per_ms_and_mhz;
}

// The time is taken before the register, so that a wait that lost the processor in between does
// not give up on a run that has ended.
bool emi_wait_done(const register_window &channel, u32 time) {
    const u64 limit = (u64{2} * time + done_wait_slack_ms) * NSEC_PER_MSEC;
    const u64 start = ktime_get_ns();

    for (;;) {
        const u64 waited = ktime_get_ns() - start;
        if ((channel.read32(emi_monitor_control) & emi_monitor_done) != 0) {
            return true;
        }
        if (is_killed()) {
            return false;
        }
        if (waited >= limit) {
            printk(KERN_ERR "[OVK_BW]EMI monitor time out\n");
            return false;
        }
        cond_resched();
        cpu_relax();
    }
}
