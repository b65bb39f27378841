// SPDX-License-Identifier: GPL-2.0-only
// Attributes fifo_status and fifo_status_clear: the FIFO monitors, all at once.
#include "control/fifo.h"
#include "core/handlers.h"
#include "core/report_buffer.h"
#include "core/shared.h"

static constexpr u32 fifo_thresholds = 0x54;
static constexpr register_field preultra_threshold{0, 0x7f};
static constexpr register_field preultra_mask{7, 1};
static constexpr register_field ultra_threshold{8, 0x7f};
static constexpr register_field ultra_mask{15, 1};
static constexpr u32 fifo_urgent = 0x58;
static constexpr register_field urgent_threshold{0, 0x7f};
static constexpr register_field urgent_mask{7, 1};
static constexpr u32 fifo_switch = 0x100;
static constexpr u32 fifo_switch_pulse = 1u << 4;
static constexpr u32 fifo_status_word = 0x140;
static constexpr u32 fifo_enable = 0x1c0;
static constexpr u32 fifo_enable_bit = 1u << 0;
static constexpr u32 fifo_not_done_bit = 1u << 2;

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

static void render_fifo(char *buf, u32 *len, u32 i, const fifo_entry &fifo) {
    putbuf(buf, len, "%4d%10s%10s%10u%10d%10u%10d%10u%10d%16u", static_cast<int>(i),
           fifo.module_name, fifo.ip_name, READ_ONCE(fifo.th_pultra), READ_ONCE(fifo.pul_mask),
           READ_ONCE(fifo.th_ultra), READ_ONCE(fifo.ul_mask), READ_ONCE(fifo.th_urgent),
           READ_ONCE(fifo.urg_mask), READ_ONCE(fifo.not_done_cnt));
    putbuf(buf, len, END_OF_LINE);
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

extern "C" {

ssize_t fifo_status_show(device_driver *, char *buf) {
    u32 len = 0;

    for (u32 i = 0; i < fifo_cnt; i++) {
        take_sample(flist[i]);
    }
    putbuf(buf, &len, REPORT_START);
    putbuf(buf, &len, ESC_REVERSE "%4s%10s%10s%10s%10s%10s%10s%10s%10s%16s", "ID", "MODULE",
           "IP_NAME", "TH_PULTRA", "PUL_MASK", "TH_ULTRA", "UL_MASK", "TH_URGENT", "URG_MASK",
           "NOT_DONE_CNT");
    putbuf(buf, &len, END_OF_HIGHLIGHT);
    for (u32 i = 0; i < fifo_cnt; i++) {
        render_fifo(buf, &len, i, flist[i]);
    }
    putbuf(buf, &len, END_OF_LINE);
    return len;
}

ssize_t fifo_status_store(device_driver *, const char *buf, size_t count) {
    bool on;

    if (parse_switch(buf, on)) {
        for (u32 i = 0; i < fifo_cnt; i++) {
            switch_monitor(flist[i], on);
        }
    }
    return static_cast<ssize_t>(count);
}

ssize_t fifo_status_clear_store(device_driver *, const char *buf, size_t count) {
    bool clear;

    if (parse_switch(buf, clear) && clear) {
        for (u32 i = 0; i < fifo_cnt; i++) {
            restart_monitor(flist[i]);
        }
    }
    return static_cast<ssize_t>(count);
}

}  // extern "C"
