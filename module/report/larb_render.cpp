// SPDX-License-Identifier: GPL-2.0-only
#include "report/larb_render.h"

#include "core/report_buffer.h"
#include "measure/arithmetic.h"

// The right column is drawn beside the left one by moving the cursor back up.
#define CURSOR_UP "\033[1A"
#define CURSOR_DOWN "\033[1B"
#define TO_RIGHT_COLUMN "\033[60C"

// Lines of a block above its ports: title and header.
static constexpr u32 lines_above_ports = 2;

static void repeat(char *buf, u32 *len, const char *text, u32 times) {
    for (u32 i = 0; i < times; i++) {
        putbuf(buf, len, "%s", text);
    }
}

static void render_head(char *buf, u32 *len, const bw_module &module) {
    putbuf(buf, len, REPORT_START);
    putbuf(buf, len, "Module : " LABEL_CYAN "  %s  ", module.name);
    putbuf(buf, len, END_OF_HIGHLIGHT END_OF_LINE);
    putbuf(buf, len, "OL: Outstanding Limit(Hex)" END_OF_LINE);
    putbuf(buf, len, "U: Force ultra PU: Force pre-ultra" END_OF_LINE);
    putbuf(buf, len, "R_BW / W_BW: R/W BW (MB/s)" END_OF_LINE);
    putbuf(buf, len, "M_CP: MAX CP(ns)" END_OF_LINE);
    putbuf(buf, len, "B: AVG Burst" END_OF_LINE);
    putbuf(buf, len, "E: Efficiency" END_OF_LINE);
    putbuf(buf, len, "UR: Ultra ratio" END_OF_LINE);
    putbuf(buf, len, "PUR: Pre-Ultra ratio" END_OF_LINE END_OF_LINE);
}

static void render_titles(char *buf, u32 *len) {
    putbuf(buf, len, "%3s%4s%3s%3s%6s%6s%6s%5s%5s%5s%5s", "ID", "OL", "U", "PU", "R_BW", "W_BW",
           "M_CP", "B", "E", "UR", "PUR");
}

static void render_port(char *buf, u32 *len, u32 port, const larb_stat &stat, u32 i) {
    putbuf(buf, len, "%3d%4x%3u%3u%6llu%6llu%6u%5u%5u%5u%5u", static_cast<int>(port), stat.ostdl[i],
           stat.force_ultra[i], stat.force_pultra[i], stat.r_bw[i], stat.w_bw[i], stat.max_cp[i],
           stat.burst[i], stat.effi[i], stat.ultra_ratio[i], stat.pultra_ratio[i]);
}

// Title, header and ports, each line behind `indent`.
static void render_block(char *buf, u32 *len, const bw_module &module, const larb_stat &stat, u32 j,
                         const char *indent) {
    const port_group &group = module.larb_ports[j];

    putbuf(buf, len, "%s", indent);
    putbuf(buf, len, "SMI_LARB %d" END_OF_LINE, static_cast<int>(module.larb_ids[j]));
    putbuf(buf, len, "%s" ESC_REVERSE, indent);
    render_titles(buf, len);
    putbuf(buf, len, END_OF_HIGHLIGHT);
    for (u32 i = 0; i < group.port_cnt; i++) {
        putbuf(buf, len, "%s" ESC_RESET, indent);
        render_port(buf, len, group.ports[i], stat, i);
        putbuf(buf, len, END_OF_LINE);
    }
}

// Back to the line of the left block's title; a left block that is shorter than its right
// neighbour of `right` ports is lengthened before.
static void return_to_title(char *buf, u32 *len, u32 left, u32 right) {
    if (left >= right) {
        repeat(buf, len, CURSOR_UP, left + lines_above_ports);
        return;
    }
    repeat(buf, len, END_OF_LINE, right - left);
    repeat(buf, len, CURSOR_UP, right + lines_above_ports);
}

// Below both blocks.
static void leave_right(char *buf, u32 *len, u32 left, u32 right) {
    if (left > right) {
        repeat(buf, len, CURSOR_DOWN, left - right);
        putbuf(buf, len, TO_RIGHT_COLUMN ESC_ERASE);
    }
    putbuf(buf, len, END_OF_LINE);
}

static void render_pair_member(char *buf, u32 *len, const bw_module &module, const larb_stat &stat,
                               u32 j) {
    const port_group *groups = module.larb_ports;

    if (j % 2 != 0) {
        render_block(buf, len, module, stat, j, TO_RIGHT_COLUMN);
        leave_right(buf, len, groups[j - 1].port_cnt, groups[j].port_cnt);
        return;
    }
    render_block(buf, len, module, stat, j, "");
    if (j + 1 == module.larb_cnt) {
        putbuf(buf, len, END_OF_LINE);
    } else {
        return_to_title(buf, len, groups[j].port_cnt, groups[j + 1].port_cnt);
    }
}

static void render_totals(char *buf, u32 *len, u64 data, u64 bus) {
    putbuf(buf, len, ESC_UNDERLINE "%33s" END_OF_HIGHLIGHT, "");
    putbuf(buf, len, ESC_REVERSE "|%8s  |%7s  |%8s  |" END_OF_HIGHLIGHT, "Data BW", "Effi",
           "Bus BW");
    putbuf(buf, len, ESC_RESET ESC_UNDERLINE "|%7llu   |%7llu  |%8llu  |", data,
           divide_or_zero(data * 100, static_cast<u32>(bus)), bus);
    putbuf(buf, len, END_OF_HIGHLIGHT END_OF_HIGHLIGHT);
}

void render_larbs(char *buf, u32 *len, const bw_module &module, const larb_stats &stats) {
    u64 data = 0;
    u64 bus = 0;

    if (module.larb_cnt == 0) {
        putbuf(buf, len, "%s not support larb monitor" END_OF_LINE, module.name);
        return;
    }
    render_head(buf, len, module);
    for (u32 j = 0; j < module.larb_cnt; j++) {
        render_pair_member(buf, len, module, *stats[j], j);
        data += stats[j]->data_bw;
        bus += stats[j]->bus_bw;
    }
    render_totals(buf, len, data, bus);
}
