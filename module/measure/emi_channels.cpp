// SPDX-License-Identifier: GPL-2.0-only
#include "measure/emi_channels.h"

#include "core/config.h"

int emi_set_base(emi_channels &channels) {
    for (u32 i = 0; i < emi_cnt; i++) {
        if (i >= emi_channels_max) {
            return -ENXIO;
        }
        channels.base[i] = map_block(emi_channel_block, i);
        if (!channels.base[i]) {
            return -ENXIO;
        }
    }
    return 0;
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
        write_dispatch(dispatch, emi_dispatch_off, emi_dispatch_off);
    } else if (emi_cnt >= 1 && emi_cnt <= emi_channels_max) {
        write_dispatch(dispatch, emi_dispatch_on, emi_dispatch_rules[emi_cnt - 1]);
    } else {
        printk(KERN_ERR "[OVK_BW]wrong Dispatch Rule\n");
    }
    wmb();
}
