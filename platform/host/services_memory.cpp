// SPDX-License-Identifier: GPL-2.0-only
// Kernel services: memory.
#include "platform/host/state.h"

static bool zeroed(gfp_t flags) {
    if ((flags & ~__GFP_ZERO) != GFP_KERNEL) {
        host::current_machine().oopses.add("allocation with flags other than GFP_KERNEL");
    }
    return (flags & __GFP_ZERO) != 0;
}

void *KERNEL_SERVICE(kmalloc)(size_t size, gfp_t flags) {
    return host::current_machine().memory.allocate(size, zeroed(flags));
}

void *KERNEL_SERVICE(kmalloc_array)(size_t count, size_t size, gfp_t flags) {
    return host::current_machine().memory.allocate_array(count, size, zeroed(flags));
}

void KERNEL_SERVICE(kfree)(const void *memory) {
    host::current_machine().memory.release(memory);
}

void *KERNEL_SERVICE(devm_kmalloc)(struct device *dev, size_t size, gfp_t flags) {
    return host::current_machine().memory.allocate(size, zeroed(flags), dev);
}
