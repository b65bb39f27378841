// SPDX-License-Identifier: GPL-2.0-only
#include "report/total_render.h"

#include "core/config.h"
#include "core/module_list.h"
#include "core/report_buffer.h"
#include "core/shared.h"
#include "measure/arithmetic.h"

// A bar of 50 cells stands for all of total_bw. A longer one is drawn as long as it is; beyond a
// page of blanks nothing of it would show.
static constexpr s32 bar_cells = 50;
static constexpr u64 bar_cells_max = report_buffer_size;
static constexpr u64 percent_per_cell = 2;

// Below the threshold by less than this is a warning, percent.
static constexpr u32 warning_band = 10;

static bool is_shown(u32 position) {
    return READ_ONCE(mlist[position].enable) != 0 && !is_left_out(position);
}

static void render_header(char *buf, u32 *len) {
    putbuf(buf, len, ESC_REVERSE "%4s%10s%12s%12s%12s%12s%12s%12s", "ID", "MODULE", "DOMAIN",
           "DATA_BW", "EFFI(%)", "BUS_BW", "ULTRA(%)", "PREULTRA(%)");
    putbuf(buf, len, END_OF_HIGHLIGHT);
}

static void render_row(char *buf, u32 *len, u32 position, const total_result &result) {
    const bw_module &module = mlist[position];

    putbuf(buf, len, "%4u%10s%12s%12llu%12u%12llu%12u%12u", position, module.name, module.domain,
           result.data_bw, result.module_effi, result.bus_bw, result.ultra_pct, result.pultra_pct);
    putbuf(buf, len, END_OF_LINE);
}

static void render_table(char *buf, u32 *len, total_results &results) {
    render_header(buf, len);
    for (u32 k = 0; k < module_cnt; k++) {
        if (is_shown(k)) {
            render_row(buf, len, k, *results.modules[k]);
        }
    }
    putbuf(buf, len, END_OF_LINE);
}

static s32 bar_width(u64 bus_bw) {
    const u64 cells = divide_or_zero(bus_bw * 100, total_bw) / percent_per_cell;

    return static_cast<s32>(cells < bar_cells_max ? cells : bar_cells_max);
}

static void render_bar(char *buf, u32 *len, const bw_module &module, const total_result &result) {
    const u32 per_mille = static_cast<u32>(divide_or_zero(result.bus_bw * 1000, total_bw));
    const s32 filled = bar_width(result.bus_bw);

    putbuf(buf, len, "%-9s :%7llu (MB/s)%4u o/oo[" ESC_REVERSE "%*s" ESC_RESET "%*s]", module.name,
           result.bus_bw, per_mille, filled, "", bar_cells - filled, "");
    putbuf(buf, len, END_OF_LINE);
}

static void render_bars(char *buf, u32 *len, total_results &results) {
    for (u32 k = 0; k < module_cnt; k++) {
        const total_result &result = *results.modules[k];
        if (READ_ONCE(mlist[k].enable) != 0 && result.bus_bw != 0) {
            render_bar(buf, len, mlist[k], result);
        }
    }
    putbuf(buf, len, END_OF_LINE);
}

static void render_dram(char *buf, u32 *len) {
    putbuf(buf, len, ESC_UNDERLINE "%23s" END_OF_HIGHLIGHT, "");
    putbuf(buf, len, ESC_REVERSE "|%8s  |%8s  |" END_OF_HIGHLIGHT, "Width", "Clock");
    putbuf(buf, len, ESC_RESET ESC_UNDERLINE "|%7u   |%8u  |" END_OF_HIGHLIGHT, bus_width,
           dram_clock);
    putbuf(buf, len, END_OF_HIGHLIGHT);
}

static void render_usage(char *buf, u32 *len, const total_usage &usage) {
    putbuf(buf, len, ESC_UNDERLINE "%34s" END_OF_HIGHLIGHT, "");
    putbuf(buf, len, ESC_REVERSE "|%8s  |%8s  |%8s  |" END_OF_HIGHLIGHT, "TotalBW", "BusBW",
           "Slack");
    putbuf(buf, len, ESC_RESET ESC_UNDERLINE "|%8u  |%8llu  |%8lld  |" END_OF_HIGHLIGHT, total_bw,
           usage.bus_bw, usage.slack);
    putbuf(buf, len, ESC_UNDERLINE "|%7u%%  |%7llu%%  |%6lld%%   |" END_OF_HIGHLIGHT, 100u,
           usage.percent, usage.slack_percent);
    putbuf(buf, len, END_OF_HIGHLIGHT END_OF_LINE);
}

// The band below the threshold is worked out in unsigned arithmetic: a threshold below its width
// has none.
static const char *verdict(u32 percent) {
    if (percent > dram_penalty) {
        return "Status: " LABEL_RED "  DANGER  ";
    }
    if (percent > dram_penalty - warning_band) {
        return "Status: " LABEL_YELLOW "  WARNING  ";
    }
    return "Status: " LABEL_GREEN "   SAFE   ";
}

void render_total(char *buf, u32 *len, total_results &results) {
    const total_usage usage = usage_of(sum_result(results));

    putbuf(buf, len, REPORT_START);
    render_table(buf, len, results);
    render_bars(buf, len, results);
    render_dram(buf, len);
    render_usage(buf, len, usage);
    putbuf(buf, len, "%s", verdict(static_cast<u32>(usage.percent)));
    putbuf(buf, len, END_OF_HIGHLIGHT END_OF_LINE);
}

void render_total_simple(char *buf, u32 *len, total_results &results) {
    const total_usage usage = usage_of(sum_result(results));

    putbuf(buf, len, END_OF_LINE);
    for (u32 k = 0; k < module_cnt; k++) {
        if (is_shown(k) && !has_name(mlist[k], "REF_EMI")) {
            putbuf(buf, len, "%-10s: %6llu MB/s" END_OF_LINE, mlist[k].name,
                   results.modules[k]->bus_bw);
        }
    }
    putbuf(buf, len, END_OF_LINE);
    putbuf(buf, len, "%-10s: %6u MB/s (%3u%%)" END_OF_LINE, "Total", total_bw, 100u);
    putbuf(buf, len, "%-10s: %6llu MB/s (%3llu%%)" END_OF_LINE, "Useage", usage.bus_bw,
           usage.percent);
    putbuf(buf, len, "%-10s: %6lld MB/s (%3lld%%)" END_OF_LINE, "Slack", usage.slack,
           usage.slack_percent);
    putbuf(buf, len, END_OF_LINE);
}
