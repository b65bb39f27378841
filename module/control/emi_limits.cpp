// SPDX-License-Identifier: GPL-2.0-only
// Attributes bw_emi_lmt, bw_emi_timer and bw_emi_ostd: arbitration settings of an EMI port, on one
// channel or on all.
#include "base/handler.h"
#include "base/shared.h"
#include "core/config.h"
#include "core/report_buffer.h"
#include "measure/emi_channels.h"
#include "registers/emi.h"

// The numbers of one line, compared as unsigned: negative ones are out of range.
struct emi_request {
    u32 channel;  // emi_cnt stands for all channels
    u32 port;
    u32 direction;
    u32 value;
};

using emi_update = void (*)(const register_window &channel, const emi_request &request);

static void set_limit(const register_window &channel, const emi_request &request) {
    channel.update32(emi_arbitration_of(request.port), emi_bandwidth_limit.bits(),
                     emi_bandwidth_limit.put(request.value));
    wmb();
}

static void set_timer(const register_window &channel, const emi_request &request) {
    if (request.direction > EMI_WRITE) {
        return;
    }
    const register_field timer = request.direction == EMI_READ ? emi_read_timer : emi_write_timer;
    channel.update32(emi_arbitration_of(request.port), timer.bits(), timer.put(request.value));
    wmb();
}

static void set_outstanding(const register_window &channel, const emi_request &request) {
    const emi_outstanding_pair pair = emi_outstanding_of(request.port);
    const register_field nibble =
        emi_outstanding_nibble(request.port, request.direction == EMI_READ ? EMI_READ : EMI_WRITE);
    const u32 high = channel.read32(pair.high) & ~nibble.bits();
    const u32 low = channel.read32(pair.low) & ~nibble.bits();

    channel.write32(pair.high, high | nibble.put(request.value >> emi_outstanding_high_shift));
    channel.write32(pair.low, low | nibble.put(request.value));
    wmb();
}

// False: the channels can't be had.
static bool apply(const emi_request &request, emi_update update) {
    const bool all = request.channel == emi_cnt;
    emi_channels channels;

    if (emi_set_base(channels) < 0 || emi_cnt == 0) {
        return false;
    }
    enable_broadcast_mode(all);
    update(channels.base[all ? 0 : request.channel], request);
    enable_broadcast_mode(false);
    return true;
}

// Returns the byte count, or -EINTR when killed before it began.
static ssize_t store(const emi_request &request, emi_update update, size_t count) {
    if (request.port >= emi_port_cnt || request.channel > emi_cnt) {
        printk(KERN_INFO "Wrong Argument!!\n");
        return taken(count);
    }
    const emi_lock lock;
    if (lock.error() != 0) {
        return lock.error();
    }
    if (!apply(request, update)) {
        printk(KERN_INFO "Something Wrong!!\n");
    }
    return taken(count);
}

static ssize_t store_directed(const char *buf, size_t count, emi_update update) {
    s32 channel;
    s32 port;
    s32 direction;
    u32 value;

    if (sscanf(buf, "%d %d %d %x", &channel, &port, &direction, &value) != 4) {
        return taken(count);
    }
    return store(
        {static_cast<u32>(channel), static_cast<u32>(port), static_cast<u32>(direction), value},
        update, count);
}

SHOW_HANDLER(bw_emi_lmt) {
    report_page page(buf);

    page.put("echo [EMI] [PORT] [BW LMT] > bw_emi_lmt\n");
    page.put("[EMI] : Set which EMI.\n");
    page.put("[PORT] : Set which port\n");
    page.put("[BW LMT] : Set bandwidth limitation value (HEX)\n");
    return page.length();
}

SHOW_HANDLER(bw_emi_timer) {
    report_page page(buf);

    page.put("echo [EMI] [PORT] [R/W] [TIMER] > bw_emi_timer\n");
    page.put("[EMI] : Set which EMI.\n");
    page.put("[PORT] : Set which port\n");
    page.put("[R/W] : 0:Read; 1:Write\n");
    page.put("[TIMER] : Set count down timer (HEX)\n");
    return page.length();
}

SHOW_HANDLER(bw_emi_ostd) {
    report_page page(buf);

    page.put("echo [EMI] [PORT] [R/W] [OSTD] > bw_emi_ostd\n");
    page.put("[EMI] : Set which EMI.\n");
    page.put("[PORT] : Set which port\n");
    page.put("[R/W] : 0:Read; 1:Write\n");
    page.put("[OSTD] : Set out standing limit value (HEX)\n");
    return page.length();
}

STORE_HANDLER(bw_emi_lmt) {
    s32 channel;
    s32 port;
    u32 limit;

    if (sscanf(buf, "%d %d %x", &channel, &port, &limit) != 3) {
        return taken(count);
    }
    return store({static_cast<u32>(channel), static_cast<u32>(port), EMI_READ, limit}, set_limit,
                 count);
}

STORE_HANDLER(bw_emi_timer) {
    return store_directed(buf, count, set_timer);
}

STORE_HANDLER(bw_emi_ostd) {
    return store_directed(buf, count, set_outstanding);
}
