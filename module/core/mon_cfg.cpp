// SPDX-License-Identifier: GPL-2.0-only
#include "core/mon_cfg.h"

#include "core/module_list.h"

static constexpr u32 default_time_ms = 16;
static constexpr const char *default_larb_module = "GOP";

mon_cfg larb_mon_cfg;
mon_cfg total_mon_cfg;
mon_cfg scomm_mon_cfg;
mon_cfg emi_mon_cfg;

bool set_bw_monitor_default_cfg() {
    mon_cfg defaults{};

    defaults.time = default_time_ms;
    total_mon_cfg = defaults;
    scomm_mon_cfg = defaults;
    emi_mon_cfg = defaults;
    larb_mon_cfg = defaults;
    larb_mon_cfg.name = default_larb_module;
    return get_module_id_by_name(default_larb_module, larb_mon_cfg.module_id) == 0;
}
