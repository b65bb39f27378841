// SPDX-License-Identifier: GPL-2.0-only
// Attribute bw_scomm: traffic through every SMI common, port by port.
#include "base/handler.h"
#include "base/shared.h"
#include "core/mon_cfg.h"
#include "report/smi_common_render.h"

static int gather_alone(mon_cfg &cfg, smi_common_results &results) {
    const measurement_lock lock;

    if (lock.error() == 0) {
        cfg.time = READ_ONCE(scomm_mon_cfg.time);
        smi_common_gather(cfg.time, results);
    }
    return lock.error();
}

SHOW_HANDLER(bw_scomm) {
    owned<mon_cfg> cfg;
    smi_common_results results{};
    report_page page(buf);

    if (!cfg.allocate()) {
        return -ENOMEM;
    }
    if (!smi_common_prepare(results)) {
        return 0;
    }
    const int error = gather_alone(*cfg, results);
    if (error != 0) {
        return error;
    }
    render_smi_commons(page, results);
    return page.length();
}

STORE_HANDLER(bw_scomm) {
    u32 time;

    if (kstrtouint(buf, 0, &time) != 0) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    WRITE_ONCE(scomm_mon_cfg.time, time);
    printk(KERN_INFO "[OVK_BW]Set Monitor Time= %d\n", static_cast<int>(time));
    return taken(count);
}
