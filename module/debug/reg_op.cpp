// SPDX-License-Identifier: GPL-2.0-only
// Attribute reg_op: any 32-bit register of the chip, by its physical address.
#include "base/handler.h"
#include "base/register_window.h"
#include "base/shared.h"
#include "core/report_buffer.h"

static constexpr u32 first_register = 0x1C000000;
static constexpr u32 register_range = 0x2C00001;  // the upper bound itself is a register
static constexpr u32 register_bits = 32;
static constexpr u32 bits_per_row = 16;

// The selected register; a selection that is refused stays selected.
static u32 dump_reg_addr;

static bool is_valid(u32 address) {
    return address - first_register < register_range;
}

// Empty when the register can't be mapped; one that isn't aligned would fault.
static register_window map_register(u32 address) {
    return address % sizeof(u32) == 0 ? register_window(ioremap(address, sizeof(u32)))
                                      : register_window();
}

static void write_register(const char *buf) {
    u32 address;
    u32 value;

    if (sscanf(buf, "%x %x", &address, &value) != 2) {
        return;
    }
    WRITE_ONCE(dump_reg_addr, address);
    printk(KERN_INFO "[OVK_BW]register = 0x%x", address);
    printk(KERN_INFO "[OVK_BW]value = %x", value);
    if (const register_window window = map_register(address)) {
        window.write32(0, value);
    }
}

// An address without a 0x prefix is selected by the first parse and fails here.
static void select_register(const char *buf) {
    u32 address;

    if (kstrtouint(buf, 0, &address) != 0) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!");
        return;
    }
    WRITE_ONCE(dump_reg_addr, address);
    printk(KERN_INFO "[OVK_BW]register = 0x%x", address);
}

static void write_bit(u32 address, u32 bit, u32 value) {
    if (bit >= register_bits) {
        printk(KERN_ERR "[OVK_BW]Wong bit\n");
        return;
    }
    if (value >= 2) {
        printk(KERN_ERR "[OVK_BW]Wrong bit value\n");
        return;
    }
    printk(KERN_INFO "reg = 0x%x, BIT(%u) = %u", address, bit, value);
    if (const register_window window = map_register(address)) {
        window.update32(0, 1u << bit, value << bit);
    }
}

static void render_row(report_page &page, const register_window &window, u32 top, const char *left,
                       const char *right) {
    page.put(ESC_REVERSE "%s", left);
    page.put("%s" ESC_RESET, right);
    page.put(END_OF_HIGHLIGHT ESC_UNDERLINE);
    for (u32 i = 0; i < bits_per_row; i++) {
        page.put("|%3u ", (window.read32(0) >> (top - i)) & 1);
    }
    page.put("|" END_OF_HIGHLIGHT);
}

static void render_rule(report_page &page) {
    page.put(ESC_UNDERLINE "%81s" END_OF_HIGHLIGHT, "");
}

// Every bit is read anew, so that a register that changes shows that it does.
SHOW_HANDLER(reg_op) {
    const u32 address = READ_ONCE(dump_reg_addr);
    report_page page(buf);

    if (!is_valid(address)) {
        printk(KERN_ERR "[OVK_BW]Wrong REG\n");
        return 0;
    }
    const register_window window = map_register(address);
    if (!window) {
        return 0;
    }
    const u32 value = window.read32(0);
    page.put(END_OF_LINE);
    page.put("0x%x = 0x%x" END_OF_LINE, address, value);
    render_rule(page);
    render_row(page, window, 31, "| 31 | 30 | 29 | 28 | 27 | 26 | 25 | 24 ",
               "| 23 | 22 | 21 | 20 | 19 | 18 | 17 | 16 |");
    page.put(END_OF_LINE);
    render_rule(page);
    render_row(page, window, 15, "| 15 | 14 | 13 | 12 | 11 | 10 |  9 |  8 ",
               "|  7 |  6 |  5 |  4 |  3 |  2 |  1 |  0 |");
    page.put(END_OF_LINE END_OF_LINE);
    return page.length();
}

// The number of fields tells the form: an address selects, address and value write, address, bit
// and value change a bit.
STORE_HANDLER(reg_op) {
    u32 address = READ_ONCE(dump_reg_addr);
    u32 bit = 0;
    u32 value = 0;

    const int fields = sscanf(buf, "%x %u %u", &address, &bit, &value);
    if (fields >= 1) {
        WRITE_ONCE(dump_reg_addr, address);
    }
    if (!is_valid(address)) {
        printk(KERN_ERR "[OVK_BW]Wrong REG\n");
    } else if (fields == 3) {
        write_bit(address, bit, value);
    } else if (fields == 2) {
        write_register(buf);
    } else if (fields == 1) {
        select_register(buf);
    } else {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
    }
    return taken(count);
}
