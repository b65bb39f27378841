// SPDX-License-Identifier: GPL-2.0-only
#include "base/register_window.h"

register_window map_node(device_node *node) {
    register_window window(of_iomap(node, 0));

    if (!window) {
        printk(KERN_ERR "[OVK_BW]%pOF: of_iomap failed\n", static_cast<void *>(node));
    }
    return window;
}

register_window map_block(const register_block &block, const node_ref &node) {
    register_window window = node ? map_node(node.get()) : register_window();

    if (!window) {
        printk("%s", block.missing);
    }
    return window;
}

register_window map_block(const register_block &block, u32 number) {
    return map_block(block, find_numbered_node(block.node_prefix, number));
}
