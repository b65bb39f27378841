// SPDX-License-Identifier: GPL-2.0-only
// Attribute debug_log_on.
#include "debug/debug_log.h"

#include "core/handlers.h"
#include "core/report_buffer.h"
#include "core/shared.h"

u32 debug_on;

extern "C" {

ssize_t debug_log_on_show(device_driver *, char *buf) {
    u32 len = 0;

    putbuf(buf, &len, "debug_log_on: %u\n", READ_ONCE(debug_on));
    return len;
}

ssize_t debug_log_on_store(device_driver *, const char *buf, size_t count) {
    u32 value;

    if (kstrtouint(buf, 0, &value) != 0) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
    } else {
        WRITE_ONCE(debug_on, value);
    }
    return static_cast<ssize_t>(count);
}

}  // extern "C"
