// SPDX-License-Identifier: GPL-2.0-only
// Attribute bw_larb: traffic of every larb port of one module.
#include "base/handler.h"
#include "base/shared.h"
#include "core/mon_cfg.h"
#include "report/larb_render.h"

// SUM is the last module that can be selected, although it has no larbs.
static bool is_selectable(u32 module_id) {
    return module_id <= sum_id;
}

static const char *name_of(u32 module_id) {
    for (u32 k = 0; k < module_cnt; k++) {
        if (mlist[k].module_id == module_id) {
            return mlist[k].name;
        }
    }
    return nullptr;
}

static int gather_alone(const bw_module &module, larb_stats &stats) {
    const measurement_lock lock;

    if (lock.error() == 0) {
        larb_gather(module, READ_ONCE(larb_mon_cfg.time), stats);
    }
    return lock.error();
}

SHOW_HANDLER(bw_larb) {
    const u32 module_id = READ_ONCE(larb_mon_cfg.module_id);
    larb_stats stats;
    report_page page(buf);

    if (!is_selectable(module_id)) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return 0;
    }
    const bw_module &module = mlist[module_id];
    if (!stats.allocate(module.larb_cnt)) {
        return -ENOMEM;
    }
    if (!larb_prepare(module, stats)) {
        return 0;
    }
    const int error = module.larb_cnt != 0 ? gather_alone(module, stats) : 0;
    if (error != 0) {
        return error;
    }
    render_larbs(page, module, stats);
    return page.length();
}

// Each number is kept as soon as it is read, also when the line is refused in the end.
STORE_HANDLER(bw_larb) {
    s32 module_id = 0;
    s32 time = 0;

    const int fields = sscanf(buf, "%d %d", &module_id, &time);
    if (fields >= 1) {
        WRITE_ONCE(larb_mon_cfg.module_id, static_cast<u32>(module_id));
    }
    if (fields >= 2) {
        WRITE_ONCE(larb_mon_cfg.time, static_cast<u32>(time));
    }
    if (fields < 2 || !is_selectable(static_cast<u32>(module_id))) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    printk(KERN_INFO "[OVK_BW]Set Module ID = %d, Time= %d\n", module_id, time);
    WRITE_ONCE(larb_mon_cfg.name, name_of(static_cast<u32>(module_id)));
    return taken(count);
}
