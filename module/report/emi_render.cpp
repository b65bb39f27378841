// SPDX-License-Identifier: GPL-2.0-only
#include "report/emi_render.h"

#include "base/arithmetic.h"
#include "core/config.h"
#include "registers/emi.h"
#include "report/emi_gather.h"

static void render_legend(report_page &page) {
    page.put("BW_LMT; RD/WR_TIMER; RD/WR_OSTD: Bandwidth info.(HEX)" END_OF_LINE);
    page.put("DATA_BW: Data Bandwidth (MB/s)" END_OF_LINE);
    page.put("BUS_BW: Bus Bandwidth (MB/s)" END_OF_LINE);
    page.put("EFFI: Efficiency (%s)" END_OF_LINE, "%");
    page.put("LATENCY: Average latency (ns)" END_OF_LINE);
    page.put(END_OF_LINE);
}

// The columns that both views have behind their own.
static void render_traffic(report_page &page, const emi_port &port) {
    page.put("%10llu%10u%10u%10llu%10llu" END_OF_LINE, port.data_bw, port.effi, port.burst + 1,
             emi_bus_bandwidth(port), port.latency);
}

static void render_sum(report_page &page, u64 data, u64 bus) {
    page.put("%5s%10llu%10llu%10s%10llu%10s" END_OF_LINE, "ALL", data,
             divide_or_zero(data * 100, static_cast<u32>(bus)), "-", bus, "-");
}

void render_emi_total(report_page &page, const emi_result &all) {
    u64 data = 0;
    u64 bus = 0;

    render_legend(page);
    page.put("CENTRAL_EMI ALL" END_OF_LINE);
    page.put(ESC_REVERSE "%5s%10s%10s%10s%10s%10s" END_OF_HIGHLIGHT, "PORT", "DATA_BW", "EFFI(%)",
             "BURST", "BUS_BW", "LATENCY");
    for (u32 p = 0; p < emi_port_cnt; p++) {
        const emi_port &port = all.ports[p];
        page.put("%5d", static_cast<int>(p));
        render_traffic(page, port);
        data += port.data_bw;
        bus += emi_bus_bandwidth(port);
    }
    render_sum(page, data, bus);
    page.put(END_OF_LINE);
}

static void render_settings(report_page &page, u32 p, const emi_port &port) {
    page.put("%5d%7X%7X%7X%7X%7X", static_cast<int>(p), emi_bandwidth_limit.of(port.arb),
             emi_read_timer.of(port.arb), emi_write_timer.of(port.arb), port.rd_ostd, port.wr_ostd);
}

void render_emi_detail(report_page &page, const owned_array<emi_result> &records) {
    for (u32 channel = 0; channel < emi_cnt; channel++) {
        page.put("CENTRAL_EMI %d" END_OF_LINE, static_cast<int>(channel));
        page.put(ESC_REVERSE "%5s%7s%7s%7s%7s%7s%10s%10s%10s%10s%10s" END_OF_HIGHLIGHT, "PORT",
                 "BW_LMT", "RTIMER", "WTIMER", "ROSTD", "WOSTD", "DATA_BW", "EFFI(%)", "BURST",
                 "BUS_BW", "LATENCY");
        for (u32 p = 0; p < emi_port_cnt; p++) {
            render_settings(page, p, records[channel].ports[p]);
            render_traffic(page, records[channel].ports[p]);
        }
        page.put(END_OF_LINE);
    }
}
