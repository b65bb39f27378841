// SPDX-License-Identifier: GPL-2.0-only
// Attributes larb_ostdl and larb_config: quality-of-service settings of a larb port.
#include "base/handler.h"
#include "base/register_window.h"
#include "base/shared.h"
#include "core/report_buffer.h"
#include "registers/larb.h"

static constexpr u32 larb_numbers = 53;
static constexpr u32 outstanding_limits = 0x40;

// What larb_config sets.
enum larb_config_mode : u32 { SET_OUTSTANDING = 0, FORCE_ULTRA = 1, FORCE_PULTRA = 2 };

static constexpr register_block config_larb_block{
    larb_block.node_prefix, KERN_ERR "[OVK_BW]Can't fine SMI LARB device base!!\n"};

// What larb_ostdl shows.
static u32 g_larb_id;
static u32 g_larb_port_id;

// False: there is no such port, or its larb can't be had, which has been logged.
static bool read_outstanding(u32 larb, u32 port, u32 &limit) {
    if (port >= larb_ports_max) {
        return false;
    }
    const node_ref node = find_numbered_node(larb_block.node_prefix, larb);
    const register_window window = node ? map_node(node.get()) : register_window();
    if (!window) {
        printk(KERN_ERR "[OVK_BW]Can't find SMI LARB %u device base!!\n", larb);
        return false;
    }
    limit = window.read32(larb_outstanding_of(port)) & larb_outstanding_mask;
    return true;
}

// Numbers of a larb_config line, compared as unsigned: negative ones are out of range.
struct larb_request {
    u32 mode;
    u32 larb;
    u32 port;
    u32 value;
};

static bool is_allowed(const larb_request &request) {
    if (request.larb >= larb_numbers || request.port >= larb_ports_max) {
        return false;
    }
    switch (request.mode) {
        case SET_OUTSTANDING:
            return request.value < outstanding_limits;
        case FORCE_ULTRA:
        case FORCE_PULTRA:
            return request.value <= 1;
        default:
            return false;
    }
}

static void configure(const larb_request &request) {
    const register_window larb = map_block(config_larb_block, request.larb);

    if (!larb) {
        return;
    }
    if (request.mode == SET_OUTSTANDING) {
        larb.write32(larb_outstanding_of(request.port), request.value);
    } else {
        const u32 bit = 1u << request.port;
        larb.update32(request.mode == FORCE_ULTRA ? larb_force_ultra : larb_force_pultra, bit,
                      request.value != 0 ? bit : 0);
    }
    wmb();
}

// The line names the selection as it stands then, also when it changed during the readout.
SHOW_HANDLER(larb_ostdl) {
    u32 limit = 0;
    report_page page(buf);

    if (!read_outstanding(READ_ONCE(g_larb_id), READ_ONCE(g_larb_port_id), limit)) {
        printk(KERN_ERR "[OVK_BW]get_larb_ostdl fail!!\n");
    }
    page.put("larb id: %u, port id: %u, ostdl: 0x%x" END_OF_LINE, READ_ONCE(g_larb_id),
             READ_ONCE(g_larb_port_id), limit);
    return page.length();
}

// Each number is kept as soon as it is read, also when the line is refused in the end.
STORE_HANDLER(larb_ostdl) {
    u32 larb;
    u32 port;

    const int fields = sscanf(buf, "%u %u", &larb, &port);
    if (fields >= 1) {
        WRITE_ONCE(g_larb_id, larb);
    }
    if (fields != 2) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    WRITE_ONCE(g_larb_port_id, port);
    printk(KERN_INFO "[OVK_BW]set larb id: %u, larb_port_id: %u\n", larb, port);
    return taken(count);
}

STORE_HANDLER(larb_config) {
    s32 mode;
    s32 larb;
    s32 port;
    u32 value;

    if (sscanf(buf, "%d %d %d %x", &mode, &larb, &port, &value) != 4) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    printk(KERN_INFO "[OVK_BW]mode = %d, larb ID = %d, port= %d, val=%d\n", mode, larb, port,
           static_cast<s32>(value));
    const larb_request request{static_cast<u32>(mode), static_cast<u32>(larb),
                               static_cast<u32>(port), value};
    if (is_allowed(request)) {
        configure(request);
    } else {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
    }
    return taken(count);
}
