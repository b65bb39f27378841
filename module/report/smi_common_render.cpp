// SPDX-License-Identifier: GPL-2.0-only
#include "report/smi_common_render.h"

// An SMI common whose outputs are idle is left out.
static bool is_shown(const comm_result &result) {
    for (u32 output = 0; output < result.out_cnt; output++) {
        if (has_traffic(result.ports[output])) {
            return true;
        }
    }
    return false;
}

// The columns that all ports have.
static void render_traffic(report_page &page, const char *type, u32 number, const comm_port &port) {
    page.put(ESC_RESET "%5s%5d%9llu%9llu%7u%7u", type, static_cast<int>(number), port.r_bw,
             port.w_bw, port.max_rcp, port.max_wcp);
}

static void render_input(report_page &page, u32 input, const comm_port &port) {
    render_traffic(page, "In", input, port);
    page.put("%6u%6u%6u%6u" END_OF_LINE, port.burst, port.effi, port.r_ultra, port.r_pultra);
}

// Outputs have no efficiency monitor of their own.
static void render_output(report_page &page, u32 output, const comm_port &port) {
    render_traffic(page, "Out", output, port);
    page.put("%6s%6s%6s%6s" END_OF_LINE, "-", "-", "-", "-");
}

static void render_common(report_page &page, const comm_result &result) {
    page.put("SMI_COMMON %d" END_OF_LINE, static_cast<int>(result.id));
    page.put(ESC_REVERSE "%5s%5s%9s%9s%7s%7s%6s%6s%6s%6s" END_OF_HIGHLIGHT, "TYPE", "PORT", "R_BW",
             "W_BW", "M_RCP", "M_WCP", "BURST", "EFFI", "UR", "PUR");
    for (u32 input = 0; input < result.in_cnt; input++) {
        const comm_port &port = result.ports[result.out_cnt + input];
        if (has_traffic(port)) {
            render_input(page, input, port);
        }
    }
    for (u32 output = 0; output < result.out_cnt; output++) {
        if (has_traffic(result.ports[output])) {
            render_output(page, output, result.ports[output]);
        }
    }
    page.put(END_OF_LINE);
}

void render_smi_commons(report_page &page, const smi_common_results &results) {
    page.put(REPORT_START);
    for (u32 k = 0; k < results.found; k++) {
        if (is_shown(*results.commons[k])) {
            render_common(page, *results.commons[k]);
        }
    }
}
