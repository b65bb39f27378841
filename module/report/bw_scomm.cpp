// SPDX-License-Identifier: GPL-2.0-only
// Attribute bw_scomm: traffic through every SMI common, port by port.
#include "core/handlers.h"
#include "core/report_buffer.h"
#include "core/shared.h"
#include "report/scomm_measure.h"

static bool has_traffic(const comm_result &result, u32 port) {
    return result.r_bw[port] != 0 || result.w_bw[port] != 0;
}

// An SMI common whose outputs are idle is left out.
static bool is_shown(const comm_result &result) {
    for (u32 output = 0; output < result.out_cnt; output++) {
        if (has_traffic(result, output)) {
            return true;
        }
    }
    return false;
}

static void render_input(char *buf, u32 *len, const comm_result &result, u32 input) {
    const u32 port = result.out_cnt + input;

    putbuf(buf, len, ESC_RESET);
    putbuf(buf, len, "%5s%5d%9llu%9llu%7u%7u%6u%6u%6u%6u", "In", static_cast<int>(input),
           result.r_bw[port], result.w_bw[port], result.max_rcp[port], result.max_wcp[port],
           result.burst[port], result.effi[port], result.r_ultra[port], result.r_pultra[port]);
    putbuf(buf, len, END_OF_LINE);
}

// Outputs have no efficiency monitor of their own.
static void render_output(char *buf, u32 *len, const comm_result &result, u32 port) {
    putbuf(buf, len, ESC_RESET);
    putbuf(buf, len, "%5s%5d%9llu%9llu%7u%7u%6s%6s%6s%6s", "Out", static_cast<int>(port),
           result.r_bw[port], result.w_bw[port], result.max_rcp[port], result.max_wcp[port], "-",
           "-", "-", "-");
    putbuf(buf, len, END_OF_LINE);
}

static void render_common(char *buf, u32 *len, const comm_result &result) {
    putbuf(buf, len, "SMI_COMMON %d" END_OF_LINE, static_cast<int>(result.id));
    putbuf(buf, len, ESC_REVERSE);
    putbuf(buf, len, "%5s%5s%9s%9s%7s%7s%6s%6s%6s%6s", "TYPE", "PORT", "R_BW", "W_BW", "M_RCP",
           "M_WCP", "BURST", "EFFI", "UR", "PUR");
    putbuf(buf, len, END_OF_HIGHLIGHT);
    for (u32 input = 0; input < result.in_cnt; input++) {
        if (has_traffic(result, result.out_cnt + input)) {
            render_input(buf, len, result, input);
        }
    }
    for (u32 output = 0; output < result.out_cnt; output++) {
        if (has_traffic(result, output)) {
            render_output(buf, len, result, output);
        }
    }
    putbuf(buf, len, END_OF_LINE);
}

static int measure(measure_cfg &cfg, scomm_results &results) {
    const measurement_lock lock;

    if (lock.error() == 0) {
        cfg.time = READ_ONCE(scomm_mon_cfg.time);
        scomm_measure(cfg, results);
    }
    return lock.error();
}

extern "C" {

ssize_t bw_scomm_show(device_driver *, char *buf) {
    owned<measure_cfg> cfg;
    scomm_results results{};
    u32 len = 0;

    if (!cfg.allocate()) {
        return -ENOMEM;
    }
    if (!scomm_prepare(results)) {
        return 0;
    }
    const int error = measure(*cfg, results);
    if (error != 0) {
        return error;
    }
    putbuf(buf, &len, REPORT_START);
    for (u32 k = 0; k < results.found; k++) {
        if (is_shown(*results.commons[k])) {
            render_common(buf, &len, *results.commons[k]);
        }
    }
    return len;
}

ssize_t bw_scomm_store(device_driver *, const char *buf, size_t count) {
    u32 time;

    if (kstrtouint(buf, 0, &time) != 0) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return static_cast<ssize_t>(count);
    }
    WRITE_ONCE(scomm_mon_cfg.time, time);
    printk(KERN_INFO "[OVK_BW]Set Monitor Time= %d\n", static_cast<int>(time));
    return static_cast<ssize_t>(count);
}

}  // extern "C"
