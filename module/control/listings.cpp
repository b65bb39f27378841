// SPDX-License-Identifier: GPL-2.0-only
// Attributes ip_config, larb_module_list and emi_setting: what was configured.
#include "base/handler.h"
#include "base/register_window.h"
#include "core/config.h"
#include "core/module_list.h"
#include "core/report_buffer.h"
#include "registers/emi.h"

static constexpr u32 larb_modules_per_line = 3;

struct domain_label {
    const char *domain;
    const char *label;
};

static const char *label_of(const bw_module &module) {
    static constexpr domain_label labels[] = {{"INPUT", LABEL_YELLOW},
                                              {"TS", LABEL_CYAN},
                                              {"FRAME", LABEL_GREEN},
                                              {"GFX", LABEL_MAGENTA}};

    for (const domain_label &entry : labels) {
        if (strncmp(module.domain, entry.domain, ~size_t{0}) == 0) {
            return entry.label;
        }
    }
    return LABEL_WHITE;
}

static void render_groups(report_page &page, const char *block, u32 count,
                          const port_group *groups) {
    for (u32 j = 0; j < count; j++) {
        page.put("%s_%d : PORT[ ", block, static_cast<int>(groups[j].id));
        for (u32 i = 0; i < groups[j].port_cnt; i++) {
            page.put("%d ", static_cast<int>(groups[j].ports[i]));
        }
        page.put("]\n");
    }
}

static void render_module(report_page &page, const bw_module &module) {
    page.put(ESC_UNDERLINE "Module : ");
    page.put("%s  %s  ", label_of(module), module.name);
    page.put(ESC_RESET ESC_UNDERLINE " / ID: %d" ESC_RESET "\n",
             static_cast<int>(module.module_id));
    if (has_name(module, "CPU")) {
        page.put("EMI_PORT[ 0 1 ]\n\n");
        return;
    }
    if (has_name(module, "GPU")) {
        page.put("EMI_PORT[ 7 ]\n\n");
        return;
    }
    render_groups(page, "SMI_LARB", module.larb_cnt, module.larb_ports);
    render_groups(page, "SMI_COMM", module.common_cnt, module.common_ports);
    page.put("\n");
}

SHOW_HANDLER(ip_config) {
    report_page page(buf);

    for (u32 k = 0; k < module_cnt; k++) {
        if (!has_name(mlist[k], "REF_EMI") && !has_name(mlist[k], "SUM")) {
            render_module(page, mlist[k]);
        }
    }
    return page.length();
}

SHOW_HANDLER(larb_module_list) {
    report_page page(buf);
    u32 on_line = 0;

    for (u32 k = 0; k < module_cnt; k++) {
        if (mlist[k].larb_cnt == 0) {
            continue;
        }
        page.put("%-2d: %-13s", static_cast<int>(k), mlist[k].name);
        if (++on_line == larb_modules_per_line) {
            page.put("\n");
            on_line = 0;
        }
    }
    page.put("\n");
    return page.length();
}

SHOW_HANDLER(emi_setting) {
    const node_ref node = find_numbered_node(emi_channel_block.node_prefix, 0);
    const register_window channel0 = node ? map_node(node.get()) : register_window();
    report_page page(buf);

    for (u32 p = 0; channel0 && p < emi_port_cnt; p++) {
        const unsigned long limit = emi_bandwidth_limit.of(channel0.read32(emi_arbitration_of(p)));
        page.put("-->EMI-Port(%d) bw_limit: 0x%lx " END_OF_LINE, static_cast<int>(p), limit);
    }
    return page.length();
}
