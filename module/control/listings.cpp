// SPDX-License-Identifier: GPL-2.0-only
// Attributes ip_config, larb_module_list and emi_setting: what was configured.
#include "core/config.h"
#include "core/handlers.h"
#include "core/module_list.h"
#include "core/register_window.h"
#include "core/report_buffer.h"
#include "measure/emi_registers.h"

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

static void render_groups(char *buf, u32 *len, const char *block, u32 count, const u32 *ids,
                          const port_group *groups) {
    for (u32 j = 0; j < count; j++) {
        putbuf(buf, len, "%s_%d : PORT[ ", block, static_cast<int>(ids[j]));
        for (u32 i = 0; i < groups[j].port_cnt; i++) {
            putbuf(buf, len, "%d ", static_cast<int>(groups[j].ports[i]));
        }
        putbuf(buf, len, "]\n");
    }
}

static void render_module(char *buf, u32 *len, const bw_module &module) {
    putbuf(buf, len, ESC_UNDERLINE "Module : ");
    putbuf(buf, len, "%s  %s  ", label_of(module), module.name);
    putbuf(buf, len, ESC_RESET ESC_UNDERLINE " / ID: %d" ESC_RESET "\n",
           static_cast<int>(module.module_id));
    if (has_name(module, "CPU")) {
        putbuf(buf, len, "EMI_PORT[ 0 1 ]\n\n");
        return;
    }
    if (has_name(module, "GPU")) {
        putbuf(buf, len, "EMI_PORT[ 7 ]\n\n");
        return;
    }
    render_groups(buf, len, "SMI_LARB", module.larb_cnt, module.larb_ids, module.larb_ports);
    render_groups(buf, len, "SMI_COMM", module.common_cnt, module.common_ids, module.common_ports);
    putbuf(buf, len, "\n");
}

extern "C" {

ssize_t ip_config_show(device_driver *, char *buf) {
    u32 len = 0;

    for (u32 k = 0; k < module_cnt; k++) {
        if (!has_name(mlist[k], "REF_EMI") && !has_name(mlist[k], "SUM")) {
            render_module(buf, &len, mlist[k]);
        }
    }
    return len;
}

ssize_t larb_module_list_show(device_driver *, char *buf) {
    u32 len = 0;
    u32 on_line = 0;

    for (u32 k = 0; k < module_cnt; k++) {
        if (mlist[k].larb_cnt == 0) {
            continue;
        }
        putbuf(buf, &len, "%-2d: %-13s", static_cast<int>(k), mlist[k].name);
        if (++on_line == larb_modules_per_line) {
            putbuf(buf, &len, "\n");
            on_line = 0;
        }
    }
    putbuf(buf, &len, "\n");
    return len;
}

ssize_t emi_setting_show(device_driver *, char *buf) {
    const node_ref node = find_numbered_node(emi_channel_block.node_prefix, 0);
    const register_window channel0 = node ? map_node(node.get()) : register_window();
    u32 len = 0;

    for (u32 p = 0; channel0 && p < emi_port_cnt; p++) {
        const unsigned long limit = emi_bandwidth_limit.of(channel0.read32(emi_arbitration_of(p)));
        putbuf(buf, &len, "-->EMI-Port(%d) bw_limit: 0x%lx " END_OF_LINE, static_cast<int>(p),
               limit);
    }
    return len;
}

}  // extern "C"
