// SPDX-License-Identifier: GPL-2.0-only
#include "report/larb_render.h"

#include "base/arithmetic.h"

// The right column is drawn beside the left one by moving the cursor back up.
#define CURSOR_UP "\033[1A"
#define CURSOR_DOWN "\033[1B"
#define TO_RIGHT_COLUMN "\033[60C"

// Lines of a block above its ports: title and header.
static constexpr u32 lines_above_ports = 2;

static void repeat(report_page &page, const char *text, u32 times) {
    for (u32 i = 0; i < times; i++) {
        page.put("%s", text);
    }
}

static void render_head(report_page &page, const bw_module &module) {
    page.put(REPORT_START);
    page.put("Module : " LABEL_CYAN "  %s  ", module.name);
    page.put(END_OF_HIGHLIGHT END_OF_LINE);
    page.put("OL: Outstanding Limit(Hex)" END_OF_LINE);
    page.put("U: Force ultra PU: Force pre-ultra" END_OF_LINE);
    page.put("R_BW / W_BW: R/W BW (MB/s)" END_OF_LINE);
    page.put("M_CP: MAX CP(ns)" END_OF_LINE);
    page.put("B: AVG Burst" END_OF_LINE);
    page.put("E: Efficiency" END_OF_LINE);
    page.put("UR: Ultra ratio" END_OF_LINE);
    page.put("PUR: Pre-Ultra ratio" END_OF_LINE END_OF_LINE);
}

static void render_titles(report_page &page) {
    page.put("%3s%4s%3s%3s%6s%6s%6s%5s%5s%5s%5s", "ID", "OL", "U", "PU", "R_BW", "W_BW", "M_CP",
             "B", "E", "UR", "PUR");
}

static void render_port(report_page &page, u32 id, const larb_port &port) {
    page.put("%3d%4x%3u%3u%6llu%6llu%6u%5u%5u%5u%5u", static_cast<int>(id), port.ostdl,
             port.force_ultra, port.force_pultra, port.r_bw, port.w_bw, port.max_cp, port.burst,
             port.effi, port.ultra_ratio, port.pultra_ratio);
}

// Title, header and ports, each line behind `indent`.
static void render_block(report_page &page, const port_group &group, const larb_stat &stat,
                         const char *indent) {
    page.put("%s", indent);
    page.put("SMI_LARB %d" END_OF_LINE, static_cast<int>(group.id));
    page.put("%s" ESC_REVERSE, indent);
    render_titles(page);
    page.put(END_OF_HIGHLIGHT);
    for (u32 i = 0; i < group.port_cnt; i++) {
        page.put("%s" ESC_RESET, indent);
        render_port(page, group.ports[i], stat.ports[i]);
        page.put(END_OF_LINE);
    }
}

// Back to the line of the left block's title; a left block that is shorter than its right
// neighbour of `right` ports is lengthened before.
static void return_to_title(report_page &page, u32 left, u32 right) {
    if (left >= right) {
        repeat(page, CURSOR_UP, left + lines_above_ports);
        return;
    }
    repeat(page, END_OF_LINE, right - left);
    repeat(page, CURSOR_UP, right + lines_above_ports);
}

// Below both blocks.
static void leave_right(report_page &page, u32 left, u32 right) {
    if (left > right) {
        repeat(page, CURSOR_DOWN, left - right);
        page.put(TO_RIGHT_COLUMN ESC_ERASE);
    }
    page.put(END_OF_LINE);
}

static void render_pair_member(report_page &page, const bw_module &module, const larb_stat &stat,
                               u32 j) {
    const port_group *groups = module.larb_ports;

    if (j % 2 != 0) {
        render_block(page, groups[j], stat, TO_RIGHT_COLUMN);
        leave_right(page, groups[j - 1].port_cnt, groups[j].port_cnt);
        return;
    }
    render_block(page, groups[j], stat, "");
    if (j + 1 == module.larb_cnt) {
        page.put(END_OF_LINE);
    } else {
        return_to_title(page, groups[j].port_cnt, groups[j + 1].port_cnt);
    }
}

static void render_totals(report_page &page, u64 data, u64 bus) {
    page.put(ESC_UNDERLINE "%33s" END_OF_HIGHLIGHT, "");
    page.put(ESC_REVERSE "|%8s  |%7s  |%8s  |" END_OF_HIGHLIGHT, "Data BW", "Effi", "Bus BW");
    page.put(ESC_RESET ESC_UNDERLINE "|%7llu   |%7llu  |%8llu  |", data,
             divide_or_zero(data * 100, static_cast<u32>(bus)), bus);
    page.put(END_OF_HIGHLIGHT END_OF_HIGHLIGHT);
}

void render_larbs(report_page &page, const bw_module &module, const larb_stats &stats) {
    u64 data = 0;
    u64 bus = 0;

    if (module.larb_cnt == 0) {
        page.put("%s not support larb monitor" END_OF_LINE, module.name);
        return;
    }
    render_head(page, module);
    for (u32 j = 0; j < module.larb_cnt; j++) {
        render_pair_member(page, module, *stats[j], j);
        data += stats[j]->data_bw;
        bus += stats[j]->bus_bw;
    }
    render_totals(page, data, bus);
}
