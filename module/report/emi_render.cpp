// SPDX-License-Identifier: GPL-2.0-only
#include "report/emi_render.h"

#include "core/config.h"
#include "core/report_buffer.h"
#include "measure/arithmetic.h"
#include "measure/emi_registers.h"
#include "report/emi_gather.h"

static void render_legend(char *buf, u32 *len) {
    putbuf(buf, len, "BW_LMT; RD/WR_TIMER; RD/WR_OSTD: Bandwidth info.(HEX)" END_OF_LINE);
    putbuf(buf, len, "DATA_BW: Data Bandwidth (MB/s)" END_OF_LINE);
    putbuf(buf, len, "BUS_BW: Bus Bandwidth (MB/s)" END_OF_LINE);
    putbuf(buf, len, "EFFI: Efficiency (%s)" END_OF_LINE, "%");
    putbuf(buf, len, "LATENCY: Average latency (ns)" END_OF_LINE);
    putbuf(buf, len, END_OF_LINE);
}

// The columns that both views have behind their own.
static void render_traffic(char *buf, u32 *len, const emi_result &result, u32 port) {
    putbuf(buf, len, "%10llu", result.data_bw[port]);
    putbuf(buf, len, "%10u", result.effi[port]);
    putbuf(buf, len, "%10u", result.burst[port] + 1);
    putbuf(buf, len, "%10llu", emi_bus_bandwidth(result, port));
    putbuf(buf, len, "%10llu", result.latency[port]);
    putbuf(buf, len, END_OF_LINE);
}

static void render_sum(char *buf, u32 *len, u64 data, u64 bus) {
    putbuf(buf, len, "%5s", "ALL");
    putbuf(buf, len, "%10llu", data);
    putbuf(buf, len, "%10llu", divide_or_zero(data * 100, static_cast<u32>(bus)));
    putbuf(buf, len, "%10s", "-");
    putbuf(buf, len, "%10llu", bus);
    putbuf(buf, len, "%10s", "-");
    putbuf(buf, len, END_OF_LINE);
}

void render_emi_total(char *buf, u32 *len, const emi_result &all) {
    u64 data = 0;
    u64 bus = 0;

    render_legend(buf, len);
    putbuf(buf, len, "CENTRAL_EMI ALL" END_OF_LINE);
    putbuf(buf, len, ESC_REVERSE);
    putbuf(buf, len, "%5s%10s%10s%10s%10s%10s", "PORT", "DATA_BW", "EFFI(%)", "BURST", "BUS_BW",
           "LATENCY");
    putbuf(buf, len, END_OF_HIGHLIGHT);
    for (u32 port = 0; port < emi_port_cnt; port++) {
        putbuf(buf, len, "%5d", static_cast<int>(port));
        render_traffic(buf, len, all, port);
        data += all.data_bw[port];
        bus += emi_bus_bandwidth(all, port);
    }
    render_sum(buf, len, data, bus);
    putbuf(buf, len, END_OF_LINE);
}

static void render_settings(char *buf, u32 *len, const emi_result &result, u32 port) {
    const u32 arbitration = result.arb[port];

    putbuf(buf, len, "%5d", static_cast<int>(port));
    putbuf(buf, len, "%7X", emi_bandwidth_limit.of(arbitration));
    putbuf(buf, len, "%7X", emi_read_timer.of(arbitration));
    putbuf(buf, len, "%7X", emi_write_timer.of(arbitration));
    putbuf(buf, len, "%7X", result.rd_ostd[port]);
    putbuf(buf, len, "%7X", result.wr_ostd[port]);
}

void render_emi_detail(char *buf, u32 *len, const owned_array<emi_result> &results) {
    for (u32 channel = 0; channel < emi_cnt; channel++) {
        putbuf(buf, len, "CENTRAL_EMI %d" END_OF_LINE, static_cast<int>(channel));
        putbuf(buf, len, ESC_REVERSE);
        putbuf(buf, len, "%5s%7s%7s%7s%7s%7s%10s%10s%10s%10s%10s", "PORT", "BW_LMT", "RTIMER",
               "WTIMER", "ROSTD", "WOSTD", "DATA_BW", "EFFI(%)", "BURST", "BUS_BW", "LATENCY");
        putbuf(buf, len, END_OF_HIGHLIGHT);
        for (u32 port = 0; port < emi_port_cnt; port++) {
            render_settings(buf, len, results[channel], port);
            render_traffic(buf, len, results[channel], port);
        }
        putbuf(buf, len, END_OF_LINE);
    }
}
