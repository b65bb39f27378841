// SPDX-License-Identifier: GPL-2.0-only
// Attribute mask: masks a port of a MIU2GMC block, through the module that owns these blocks.
#include "base/handler.h"

STORE_HANDLER(mask) {
    s32 id;
    s32 port;
    s32 enable;

    if (sscanf(buf, "%d %d %d", &id, &port, &enable) != 3) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    printk(KERN_INFO "[OVK_BW]MIU2GMC ID = %d, port= %d, enable=%d\n", id, port, enable);
    if (ovk_miu2gmc_mask(id, port, enable != 0) != 0) {
        printk(KERN_ERR "[OVK_BW]Mask error!!\n");
    }
    return taken(count);
}
