// SPDX-License-Identifier: GPL-2.0-only
// Attribute debug_log_on.
#include "base/handler.h"
#include "base/trace.h"
#include "core/report_buffer.h"

SHOW_HANDLER(debug_log_on) {
    report_page page(buf);

    page.put("debug_log_on: %u\n", READ_ONCE(debug_on));
    return page.length();
}

STORE_HANDLER(debug_log_on) {
    u32 value;

    if (kstrtouint(buf, 0, &value) != 0) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
    } else {
        WRITE_ONCE(debug_on, value);
    }
    return taken(count);
}
