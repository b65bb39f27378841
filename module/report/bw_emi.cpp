// SPDX-License-Identifier: GPL-2.0-only
// Attributes bw_emi and bw_emi_detail: traffic at the external memory interface, port by port.
#include "base/handler.h"
#include "base/shared.h"
#include "core/config.h"
#include "core/mon_cfg.h"
#include "report/emi_gather.h"
#include "report/emi_render.h"

SHOW_HANDLER(bw_emi) {
    emi_results results{};
    report_page page(buf);

    const int error = emi_gather(results);
    if (error != 0) {
        return error;
    }
    page.put(REPORT_START);
    if (READ_ONCE(emi_mon_cfg.detail) != 0) {
        render_emi_detail(page, results.records);
    } else {
        render_emi_total(page, results.records[emi_cnt]);
    }
    return page.length();
}

STORE_HANDLER(bw_emi) {
    u32 time;

    if (kstrtouint(buf, 0, &time) != 0) {
        printk(KERN_INFO "[OVK_BW]Wrong Argument!!\n");
    } else if (time == 0) {
        printk(KERN_INFO "[OVK_BW]time can not be 0\n");
    } else {
        WRITE_ONCE(emi_mon_cfg.time, time);
        printk(KERN_INFO "[OVK_BW]Set Monitor Time= %d\n", static_cast<int>(time));
    }
    return taken(count);
}

STORE_HANDLER(bw_emi_detail) {
    bool detail;

    if (kstrtobool(buf, &detail) != 0) {
        printk(KERN_INFO "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    WRITE_ONCE(emi_mon_cfg.detail, static_cast<u8>(detail ? 1 : 0));
    printk(KERN_INFO "[OVK_BW]Monitor emi bw info in %s\n", detail ? "detail" : "total");
    return taken(count);
}
