// SPDX-License-Identifier: GPL-2.0-only
// A module that shows whether its globals start afresh, and fails to load when the tree says so.
#include "platform/kernel.h"

static int loads;

extern "C" int init_module(void) {
    ++loads;
    device_node *node = of_find_node_by_name(nullptr, "session");
    u32 code = 0;
    of_property_read_variable_u32_array(node, "load-code", &code, 1, 0);
    of_node_put(node);
    printk(KERN_INFO "load %d\n", loads);
    if (code != 0) {
        kmalloc(48, GFP_KERNEL);
    }
    return -static_cast<int>(code);
}

extern "C" void cleanup_module(void) {
    printk("bye\n");
}
