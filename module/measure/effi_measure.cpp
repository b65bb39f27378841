// SPDX-License-Identifier: GPL-2.0-only
#include "measure/effi_measure.h"

#include "base/device_node.h"
#include "base/shared.h"
#include "core/config.h"
#include "effi/effi_map.h"
#include "registers/effi_monitor.h"
#include "registers/larb.h"
#include "registers/smi_common.h"

// Number that stands for "no monitor".
static constexpr u32 no_monitor = 99;

// The monitor that watches a port, and what it has to select.
struct effi_source {
    u32 monitor = no_monitor;
    effi_selection selection = {0, effi_mask_none};
};

// Map row for each SMI common, path-select bit clear and set.
static constexpr u32 no_row = ~0u;
static constexpr u32 effi_device_rows[][2] = {
    {0, 1}, {2, 3}, {4, 12}, {6, no_row}, {7, no_row}, {5, 13}, {8, 9}, {10, 11},
};
static constexpr u32 emi_effi_device_rows[][2] = {{2, 3}, {4, no_row}, {5, no_row}};

template <size_t COMMONS, size_t ROWS>
static u32 monitor_in(const u32 (&rows)[COMMONS][2], const effi_map_row (&map)[ROWS], u32 common,
                      u32 path) {
    if (common >= COMMONS || rows[common][path] == no_row) {
        return no_monitor;
    }
    return map[rows[common][path]].monitor;
}

// The monitor that watches an input port of SMI common `common`, whose window is mapped.
static u32 monitor_of_input(const register_window &window, u32 common, u32 input) {
    const u32 select = window.read32(smi_common_path_select);
    const u32 bit = smi_path_select_bits * input;
    const u32 path = bit < 32 ? (select >> bit) & 1 : 0;

    return emi_effi_mon != 0 ? monitor_in(emi_effi_device_rows, emi_effi_device_map, common, path)
                             : monitor_in(effi_device_rows, effi_device_map, common, path);
}

static effi_source find_common_input(u32 id, u32 port) {
    const register_window window = map_block(smi_common_block, id);

    if (!window) {
        return {};
    }
    return {.monitor = monitor_of_input(window, id, port),
            .selection = {port << effi_selection_input_shift, effi_mask_input}};
}

static effi_source find_larb_port(u32 id, u32 port) {
    const node_ref larb = find_numbered_node(larb_block.node_prefix, id);
    u32 input = 0;
    u32 common = 0;

    // The mapping only proves that the larb is there.
    if (!map_block(larb_block, larb) || !read_u32(larb.get(), "quorix,smi-port-id", input)) {
        return {};
    }
    const node_ref smi(of_parse_phandle(larb.get(), "quorix,smi", 0));
    if (!smi || !read_u32(smi.get(), "quorix,common-id", common)) {
        return {};
    }
    const register_window window = map_node(smi.get());
    if (!window) {
        return {};
    }
    return {.monitor = monitor_of_input(window, common, input),
            .selection = {(input << effi_selection_input_shift) | port, effi_mask_input_and_port}};
}

static effi_source find_source(u32 id, u32 port, effi_type type) {
    switch (type) {
        case EFFI_LARB_TOTAL:
        case EFFI_LARB_DETAIL:
            return find_larb_port(id, port);
        case EFFI_COMMON_TOTAL:
        case EFFI_COMMON_DETAIL:
            return find_common_input(id, port);
        case EFFI_MONITOR:
            return {.monitor = port, .selection = {0, effi_mask_none}};
    }
    return {};
}

effi_sample effi_measure(u32 id, u32 port, effi_type type) {
    if (is_killed()) {
        return {};
    }
    const effi_source source = find_source(id, port, type);
    if (source.monitor == no_monitor) {
        return {};
    }
    const register_window monitor = map_block(effi_monitor_block, source.monitor);
    if (!monitor) {
        return {};
    }
    return effi_run(monitor, source.monitor, source.selection,
                    type == EFFI_COMMON_DETAIL || type == EFFI_LARB_DETAIL);
}
