// SPDX-License-Identifier: GPL-2.0-only
// The FIFO status monitors of hardware modules.
#pragma once

#include "platform/kernel.h"

struct fifo_entry {
    const char *module_name;  // in the property storage of `node`, like `ip_name`
    const char *ip_name;
    void __iomem *base;  // register bank, mapped as long as the module is loaded
    u32 riu_base;        // address of the bank on the register bus
    u32 not_done_cnt;    // samples that found the FIFO not done
    u32 th_pultra;       // latest sample: thresholds and mask bits
    u32 th_ultra;
    u32 th_urgent;
    u8 pul_mask;
    u8 ul_mask;
    u8 urg_mask;
    device_node *node;  // counted reference that keeps the strings alive
};

extern u32 fifo_cnt;
extern fifo_entry *flist;

// Fills flist from the nodes of type "fifo" and maps their banks. 0, or -1 when memory, a property
// or a mapping can't be had; what was done is left to release_fifo_list.
s32 set_fifo_list();

void release_fifo_list();
