// SPDX-License-Identifier: GPL-2.0-only
#include "control/fifo.h"

#include "base/device_node.h"
#include "base/memory.h"
#include "registers/fifo.h"

static constexpr size_t bank_bytes = fifo_not_done_flag + sizeof(u32);

u32 fifo_cnt;
fifo_entry *flist;

static bool read_fifo(device_node *node, fifo_entry &fifo) {
    fifo.node = of_node_get(node);
    if (of_property_read_string(node, "module-name", &fifo.module_name) < 0 ||
        of_property_read_string(node, "ip-name", &fifo.ip_name) < 0 ||
        !read_u32(node, "riu-base", fifo.riu_base)) {
        return false;
    }
    const u32 cpu_base = riu_start + (fifo.riu_base << riu_bank_shift);
    printk(KERN_ERR "[OVK_BW] riu base: %x\n", fifo.riu_base);
    printk(KERN_ERR "[OVK_BW] cpu base: %x\n", cpu_base);
    fifo.base = ioremap(cpu_base, bank_bytes);
    fifo.not_done_cnt = 0;
    return fifo.base != nullptr;
}

s32 set_fifo_list() {
    u32 i = 0;

    fifo_cnt = count_nodes_of_type("fifo");
    printk(KERN_ERR "[OVK_BW] fifo_cnt: %u\n", fifo_cnt);
    flist = allocate_zeroed<fifo_entry>(fifo_cnt);
    if (!flist) {
        return -1;
    }
    const bool complete = for_each_node_of_type(
        "fifo", [&i](device_node *node) { return i < fifo_cnt && read_fifo(node, flist[i++]); });
    return complete && i == fifo_cnt ? 0 : -1;
}

void release_fifo_list() {
    for (u32 i = 0; flist && i < fifo_cnt; i++) {
        if (flist[i].base) {
            iounmap(flist[i].base);
        }
        of_node_put(flist[i].node);
    }
    kfree(flist);
    flist = nullptr;
    fifo_cnt = 0;
}
