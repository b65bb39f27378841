// SPDX-License-Identifier: GPL-2.0-only
#include "report/total_render.h"

#include "base/arithmetic.h"
#include "core/config.h"

// A bar of 50 cells stands for all of total_bw. A longer one is drawn as long as it is; beyond a
// page of blanks nothing of it would show.
static constexpr s32 bar_cells = 50;
static constexpr u64 bar_cells_max = report_buffer_size;
static constexpr u64 percent_per_cell = 2;

// Below the threshold by less than this is a warning, percent.
static constexpr u32 warning_band = 10;

static bool is_shown(const bw_module &module) {
    return is_enabled(module) && !is_left_out(module);
}

static void render_header(report_page &page) {
    page.put(ESC_REVERSE "%4s%10s%12s%12s%12s%12s%12s%12s", "ID", "MODULE", "DOMAIN", "DATA_BW",
             "EFFI(%)", "BUS_BW", "ULTRA(%)", "PREULTRA(%)");
    page.put(END_OF_HIGHLIGHT);
}

static void render_row(report_page &page, u32 position, const total_result &result) {
    const bw_module &module = mlist[position];

    page.put("%4u%10s%12s%12llu%12u%12llu%12u%12u", position, module.name, module.domain,
             result.data_bw, result.module_effi, result.bus_bw, result.ultra_pct,
             result.pultra_pct);
    page.put(END_OF_LINE);
}

static void render_table(report_page &page, total_results &results) {
    render_header(page);
    for (u32 k = 0; k < module_cnt; k++) {
        if (is_shown(mlist[k])) {
            render_row(page, k, *results.modules[k]);
        }
    }
    page.put(END_OF_LINE);
}

static s32 bar_width(u64 bus_bw) {
    const u64 cells = divide_or_zero(bus_bw * 100, total_bw) / percent_per_cell;

    return static_cast<s32>(cells < bar_cells_max ? cells : bar_cells_max);
}

static void render_bar(report_page &page, const bw_module &module, const total_result &result) {
    const u32 per_mille = static_cast<u32>(divide_or_zero(result.bus_bw * 1000, total_bw));
    const s32 filled = bar_width(result.bus_bw);

    page.put("%-9s :%7llu (MB/s)%4u o/oo[" ESC_REVERSE "%*s" ESC_RESET "%*s]", module.name,
             result.bus_bw, per_mille, filled, "", bar_cells - filled, "");
    page.put(END_OF_LINE);
}

static void render_bars(report_page &page, total_results &results) {
    for (u32 k = 0; k < module_cnt; k++) {
        const total_result &result = *results.modules[k];
        if (is_enabled(mlist[k]) && result.bus_bw != 0) {
            render_bar(page, mlist[k], result);
        }
    }
    page.put(END_OF_LINE);
}

static void render_dram(report_page &page) {
    page.put(ESC_UNDERLINE "%23s" END_OF_HIGHLIGHT, "");
    page.put(ESC_REVERSE "|%8s  |%8s  |" END_OF_HIGHLIGHT, "Width", "Clock");
    page.put(ESC_RESET ESC_UNDERLINE "|%7u   |%8u  |" END_OF_HIGHLIGHT, bus_width, dram_clock);
    page.put(END_OF_HIGHLIGHT);
}

static void render_usage(report_page &page, const total_usage &usage) {
    page.put(ESC_UNDERLINE "%34s" END_OF_HIGHLIGHT, "");
    page.put(ESC_REVERSE "|%8s  |%8s  |%8s  |" END_OF_HIGHLIGHT, "TotalBW", "BusBW", "Slack");
    page.put(ESC_RESET ESC_UNDERLINE "|%8u  |%8llu  |%8lld  |" END_OF_HIGHLIGHT, total_bw,
             usage.bus_bw, usage.slack);
    page.put(ESC_UNDERLINE "|%7u%%  |%7llu%%  |%6lld%%   |" END_OF_HIGHLIGHT, 100u, usage.percent,
             usage.slack_percent);
    page.put(END_OF_HIGHLIGHT END_OF_LINE);
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

void render_total(report_page &page, total_results &results) {
    const total_usage usage = usage_of(sum_result(results));

    page.put(REPORT_START);
    render_table(page, results);
    render_bars(page, results);
    render_dram(page);
    render_usage(page, usage);
    page.put("%s", verdict(static_cast<u32>(usage.percent)));
    page.put(END_OF_HIGHLIGHT END_OF_LINE);
}

void render_total_simple(report_page &page, total_results &results) {
    const total_usage usage = usage_of(sum_result(results));

    page.put(END_OF_LINE);
    for (u32 k = 0; k < module_cnt; k++) {
        if (is_shown(mlist[k]) && !has_name(mlist[k], "REF_EMI")) {
            page.put("%-10s: %6llu MB/s" END_OF_LINE, mlist[k].name, results.modules[k]->bus_bw);
        }
    }
    page.put(END_OF_LINE);
    page.put("%-10s: %6u MB/s (%3u%%)" END_OF_LINE, "Total", total_bw, 100u);
    page.put("%-10s: %6llu MB/s (%3llu%%)" END_OF_LINE, "Useage", usage.bus_bw, usage.percent);
    page.put("%-10s: %6lld MB/s (%3lld%%)" END_OF_LINE, "Slack", usage.slack, usage.slack_percent);
    page.put(END_OF_LINE);
}
