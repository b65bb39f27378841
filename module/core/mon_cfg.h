// SPDX-License-Identifier: GPL-2.0-only
// Monitor settings: what the next report measures, and for how long.
#pragma once

#include "platform/kernel.h"

struct mon_cfg {
    const char *name;  // of the selected module, or of the one under measurement
    u8 detail;         // 1: EMI report in detail, 0: in total
    u32 time;          // monitoring time, ms
    u32 module_id;     // selected module, or the position of the one under measurement
    u32 port_ofs;      // ports of the module's larbs before the one under measurement
    u32 larb_idx;      // larb port group under measurement
    u32 common_idx;    // SMI common port group under measurement
    u32 proc;          // processing option of the total report
};

// The settings that the attributes write. They persist until the next write.
extern mon_cfg larb_mon_cfg;
extern mon_cfg total_mon_cfg;
extern mon_cfg scomm_mon_cfg;
extern mon_cfg emi_mon_cfg;

// Sets all four to their defaults: 16 ms, and for the larb report the module named "GOP". False:
// there is no such module (the other defaults are set all the same).
bool set_bw_monitor_default_cfg();
