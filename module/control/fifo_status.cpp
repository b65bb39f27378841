// SPDX-License-Identifier: GPL-2.0-only
// Attributes fifo_status and fifo_status_clear: the FIFO monitors, all at once.
#include "base/handler.h"
#include "base/shared.h"
#include "control/fifo.h"
#include "core/report_buffer.h"
#include "registers/fifo.h"

static u8 sample_mask(const register_view &bank, u32 offset, register_field mask) {
    return static_cast<u8>(mask.of(bank.read32(offset)));
}

// Every field is sampled by a read of its own.
static void take_sample(fifo_entry &fifo) {
    const register_view bank(fifo.base);

    if (bank.read32(fifo_status_word) != 0 &&
        (bank.read32(fifo_not_done_flag) & fifo_not_done_bit) != 0) {
        WRITE_ONCE(fifo.not_done_cnt, READ_ONCE(fifo.not_done_cnt) + 1);
    }
    WRITE_ONCE(fifo.th_pultra, preultra_threshold.of(bank.read32(fifo_thresholds)));
    WRITE_ONCE(fifo.pul_mask, sample_mask(bank, fifo_thresholds, preultra_mask));
    WRITE_ONCE(fifo.th_ultra, ultra_threshold.of(bank.read32(fifo_thresholds)));
    WRITE_ONCE(fifo.ul_mask, sample_mask(bank, fifo_thresholds, ultra_mask));
    WRITE_ONCE(fifo.th_urgent, urgent_threshold.of(bank.read32(fifo_urgent)));
    WRITE_ONCE(fifo.urg_mask, sample_mask(bank, fifo_urgent, urgent_mask));
}

static void render_fifo(report_page &page, u32 i, const fifo_entry &fifo) {
    page.put("%4d%10s%10s%10u%10d%10u%10d%10u%10d%16u", static_cast<int>(i), fifo.module_name,
             fifo.ip_name, READ_ONCE(fifo.th_pultra), READ_ONCE(fifo.pul_mask),
             READ_ONCE(fifo.th_ultra), READ_ONCE(fifo.ul_mask), READ_ONCE(fifo.th_urgent),
             READ_ONCE(fifo.urg_mask), READ_ONCE(fifo.not_done_cnt));
    page.put(END_OF_LINE);
}

static void switch_monitor(fifo_entry &fifo, bool on) {
    const register_view bank(fifo.base);

    bank.update_low16(fifo_switch, 0, fifo_switch_pulse);
    wmb();
    bank.update_low16(fifo_switch, fifo_switch_pulse, 0);
    wmb();
    bank.update_low16(fifo_enable, on ? 0 : fifo_enable_bit, on ? fifo_enable_bit : 0);
    if (!on) {
        WRITE_ONCE(fifo.not_done_cnt, 0u);
    }
}

static void restart_monitor(const fifo_entry &fifo) {
    const register_view bank(fifo.base);

    bank.update_low16(fifo_enable, fifo_enable_bit, 0);
    wmb();
    bank.update_low16(fifo_enable, 0, fifo_enable_bit);
    wmb();
}

static bool parse_switch(const char *buf, bool &on) {
    if (kstrtobool(buf, &on) == 0) {
        return true;
    }
    printk(KERN_INFO "[OVK_BW]Wrong Argument!!\n");
    return false;
}

SHOW_HANDLER(fifo_status) {
    report_page page(buf);

    for (u32 i = 0; i < fifo_cnt; i++) {
        take_sample(flist[i]);
    }
    page.put(REPORT_START);
    page.put(ESC_REVERSE "%4s%10s%10s%10s%10s%10s%10s%10s%10s%16s", "ID", "MODULE", "IP_NAME",
             "TH_PULTRA", "PUL_MASK", "TH_ULTRA", "UL_MASK", "TH_URGENT", "URG_MASK",
             "NOT_DONE_CNT");
    page.put(END_OF_HIGHLIGHT);
    for (u32 i = 0; i < fifo_cnt; i++) {
        render_fifo(page, i, flist[i]);
    }
    page.put(END_OF_LINE);
    return page.length();
}

STORE_HANDLER(fifo_status) {
    bool on;

    if (parse_switch(buf, on)) {
        for (u32 i = 0; i < fifo_cnt; i++) {
            switch_monitor(flist[i], on);
        }
    }
    return taken(count);
}

STORE_HANDLER(fifo_status_clear) {
    bool clear;

    if (parse_switch(buf, clear) && clear) {
        for (u32 i = 0; i < fifo_cnt; i++) {
            restart_monitor(flist[i]);
        }
    }
    return taken(count);
}
