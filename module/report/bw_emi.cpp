// SPDX-License-Identifier: GPL-2.0-only
// Attributes bw_emi and bw_emi_detail: traffic at the external memory interface, port by port.
#include "core/config.h"
#include "core/handlers.h"
#include "core/report_buffer.h"
#include "core/shared.h"
#include "report/emi_gather.h"
#include "report/emi_render.h"

extern "C" {

ssize_t bw_emi_show(device_driver *, char *buf) {
    emi_results results{};
    u32 len = 0;

    const ssize_t error = emi_gather(results);
    if (error != 0) {
        return error;
    }
    putbuf(buf, &len, REPORT_START);
    if (READ_ONCE(emi_mon_cfg.detail) != 0) {
        render_emi_detail(buf, &len, results.records);
    } else {
        render_emi_total(buf, &len, results.records[emi_cnt]);
    }
    return len;
}

ssize_t bw_emi_store(device_driver *, const char *buf, size_t count) {
    u32 time;

    if (kstrtouint(buf, 0, &time) != 0) {
        printk(KERN_INFO "[OVK_BW]Wrong Argument!!\n");
    } else if (time == 0) {
        printk(KERN_INFO "[OVK_BW]time can not be 0\n");
    } else {
        WRITE_ONCE(emi_mon_cfg.time, time);
        printk(KERN_INFO "[OVK_BW]Set Monitor Time= %d\n", static_cast<int>(time));
    }
    return static_cast<ssize_t>(count);
}

ssize_t bw_emi_detail_store(device_driver *, const char *buf, size_t count) {
    bool detail;

    if (kstrtobool(buf, &detail) != 0) {
        printk(KERN_INFO "[OVK_BW]Wrong Argument!!\n");
        return static_cast<ssize_t>(count);
    }
    WRITE_ONCE(emi_mon_cfg.detail, static_cast<u8>(detail ? 1 : 0));
    printk(detail ? KERN_INFO "[OVK_BW]Monitor emi bw info in detail\n"
                  : KERN_INFO "[OVK_BW]Monitor emi bw info in total\n");
    return static_cast<ssize_t>(count);
}

}  // extern "C"
