// SPDX-License-Identifier: GPL-2.0-only
// Attributes bw_total and simple_mon: every module's share of the DRAM.
#include "base/handler.h"
#include "base/shared.h"
#include "report/total_gather.h"
#include "report/total_render.h"

static u32 simple_mon;

// Without memory for its results the report is empty.
SHOW_HANDLER(bw_total) {
    owned<mon_cfg> cfg;
    total_results results{};
    report_page page(buf);

    if (!cfg.allocate()) {
        return -ENOMEM;
    }
    const int error = total_gather(*cfg, results);
    if (error != 0) {
        return error == -ENOMEM ? 0 : error;
    }
    if (READ_ONCE(simple_mon) != 0) {
        render_total_simple(page, results);
    } else {
        render_total(page, results);
    }
    return page.length();
}

STORE_HANDLER(bw_total) {
    u32 m_id;
    u32 enable;
    u32 time;
    u32 proc;

    if (sscanf(buf, "%u %u %u %u", &m_id, &enable, &time, &proc) != 4 || m_id >= module_cnt) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    const u8 flag = enable != 0 ? 1 : 0;
    WRITE_ONCE(mlist[m_id].enable, flag);
    WRITE_ONCE(total_mon_cfg.time, time);
    WRITE_ONCE(total_mon_cfg.proc, proc);
    printk(KERN_INFO "[OVK_BW]set m_id: %u, enable: %u, time: %u ms, proc: %u\n", m_id, flag, time,
           proc);
    return taken(count);
}

STORE_HANDLER(simple_mon) {
    u32 value;

    if (kstrtouint(buf, 0, &value) != 0) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    WRITE_ONCE(simple_mon, value);
    return taken(count);
}
