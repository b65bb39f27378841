// SPDX-License-Identifier: GPL-2.0-only
// Attributes bw_total and simple_mon: every module's share of the DRAM.
#include "core/handlers.h"
#include "core/module_list.h"
#include "core/shared.h"
#include "report/total_measure.h"
#include "report/total_render.h"

static u32 simple_mon;

extern "C" {

ssize_t bw_total_show(device_driver *, char *buf) {
    owned<measure_cfg> cfg;
    total_results results{};
    u32 len = 0;

    if (!cfg.allocate()) {
        return -ENOMEM;
    }
    const measure_outcome outcome = total_measure(*cfg, results);
    if (outcome != measure_outcome::complete) {
        return outcome == measure_outcome::interrupted ? -EINTR : 0;
    }
    if (READ_ONCE(simple_mon) != 0) {
        render_total_simple(buf, &len, results);
    } else {
        render_total(buf, &len, results);
    }
    return len;
}

ssize_t bw_total_store(device_driver *, const char *buf, size_t count) {
    u32 m_id;
    u32 enable;
    u32 time;
    u32 proc;

    if (sscanf(buf, "%u %u %u %u", &m_id, &enable, &time, &proc) != 4 || m_id >= module_cnt) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return static_cast<ssize_t>(count);
    }
    const u8 flag = enable != 0 ? 1 : 0;
    WRITE_ONCE(mlist[m_id].enable, flag);
    WRITE_ONCE(total_mon_cfg.time, time);
    WRITE_ONCE(total_mon_cfg.proc, proc);
    printk(KERN_INFO "[OVK_BW]set m_id: %u, enable: %u, time: %u ms, proc: %u\n", m_id, flag, time,
           proc);
    return static_cast<ssize_t>(count);
}

ssize_t simple_mon_store(device_driver *, const char *buf, size_t count) {
    u32 value;

    if (kstrtouint(buf, 0, &value) != 0) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return static_cast<ssize_t>(count);
    }
    WRITE_ONCE(simple_mon, value);
    return static_cast<ssize_t>(count);
}

}  // extern "C"
