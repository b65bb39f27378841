// SPDX-License-Identifier: GPL-2.0-only
#include "measure/effi_measure.h"

#include "core/config.h"
#include "core/device_node.h"
#include "core/shared.h"
#include "debug/debug_log.h"
#include "effi/effi_map.h"
#include "measure/effi_registers.h"
#include "measure/total_result.h"

// Two bits per SMI common input port, of which the lower one picks the path.
static constexpr u32 smi_common_path_select = 0x220;
static constexpr u32 path_select_bits = 2;

static constexpr unsigned long poll_min_us = 999;
static constexpr unsigned long poll_max_us = 1001;
static constexpr u32 poll_limit = 50;
static constexpr u32 slow_poll_limit = 500;  // at the slow EMI clocks
static constexpr u32 slow_emi_clocks[] = {432, 456};

// Where the requests of interest pass: an input port of an SMI common, and a port of the larb
// behind it if only that one counts.
struct effi_source {
    u32 monitor = effi_no_monitor;
    u32 selection_value = 0;
    u32 selection_mask = effi_mask_none;
};

static bool is_larb_type(u32 type) {
    return type == EFFI_LARB_TOTAL || type == EFFI_LARB_DETAIL;
}

static bool has_burst(u32 type) {
    return type == EFFI_COMMON_DETAIL || type == EFFI_LARB_DETAIL;
}

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
        return effi_no_monitor;
    }
    return map[rows[common][path]].monitor;
}

// The monitor that watches an input port of SMI common `common`, whose window is mapped.
static u32 monitor_of_input(const register_window &window, u32 common, u32 input) {
    const u32 select = window.read32(smi_common_path_select);
    const u32 bit = path_select_bits * input;
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
            .selection_value = port << effi_selection_input_shift,
            .selection_mask = effi_mask_input};
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
            .selection_value = (input << effi_selection_input_shift) | port,
            .selection_mask = effi_mask_input_and_port};
}

static effi_source find_source(s32 id, u32 port, u32 type) {
    if (type == EFFI_MONITOR) {
        return {.monitor = port};
    }
    const u32 number = static_cast<u32>(id);
    return is_larb_type(type) ? find_larb_port(number, port) : find_common_input(number, port);
}

static void update_control(const register_window &monitor, u32 clear, u32 set) {
    monitor.update32(effi_control, clear, set);
    wmb();
}

void effi_select(const register_window &monitor, u32 selector) {
    update_control(monitor, effi_control_selector, 0);
    update_control(monitor, 0, selector << effi_control_selector_shift);
}

static void write_selection(const register_window &monitor, const effi_source &source) {
    if (source.selection_mask == effi_mask_none) {
        monitor.write32(effi_selection_value, source.selection_value);
        monitor.write32(effi_selection_mask, source.selection_mask);
        return;
    }
    monitor.write32(effi_selection_mask, source.selection_mask);
    monitor.write32(effi_selection_value, source.selection_value);
}

static void start(const register_window &monitor, const effi_source &source) {
    wmb();
    monitor.write32(effi_control, effi_control_reset);
    monitor.write32(effi_control, 0);
    write_selection(monitor, source);
    monitor.update64(effi_control, 0, effi_control_armed);
    effi_select(monitor, effi_select_efficiency);
    update_control(monitor, 0, effi_control_run);
}

static u32 wait_limit() {
    for (const u32 slow : slow_emi_clocks) {
        if (emi_clock == slow) {
            return slow_poll_limit;
        }
    }
    return poll_limit;
}

static bool is_done(const register_window &monitor) {
    return (monitor.read32(effi_status) & effi_status_done) != 0;
}

void effi_wait_done(const register_window &monitor, u32 number) {
    bool done = is_done(monitor);

    for (u32 left = wait_limit(); !done && left > 0 && !is_killed(); left--) {
        usleep_range(poll_min_us, poll_max_us);
        done = is_done(monitor);
    }
    if (!done && !is_killed() && READ_ONCE(debug_on) != 0) {
        printk(KERN_ALERT "[OVK-BW] EFFI [P%u] time out\n", number);
    }
}

static u32 read_result(const register_window &monitor, u32 selector) {
    effi_select(monitor, selector);
    return monitor.read32(effi_result_value);
}

// The selector stands at the efficiency since the start.
static effi_sample read_sample(const register_window &monitor, bool with_burst) {
    effi_sample sample{};

    sample.measured = true;
    sample.efficiency = monitor.read32(effi_result_value);
    sample.ultra = read_result(monitor, effi_select_ultra);
    effi_select(monitor, effi_select_burst);
    if (with_burst) {
        sample.burst = monitor.read32(effi_result_value);
    }
    sample.pultra = read_result(monitor, effi_select_pultra);
    return sample;
}

static void stop(const register_window &monitor) {
    update_control(monitor, effi_control_selector, 0);
    monitor.update64(effi_control, effi_control_run, 0);
    wmb();
    monitor.update64(effi_control, 0, effi_control_reset);
    wmb();
    monitor.update64(effi_control, effi_control_reset, 0);
}

effi_sample effi_take_sample(s32 id, u32 port, u32 type) {
    if (type > EFFI_MONITOR || is_killed()) {
        return {};
    }
    const effi_source source = find_source(id, port, type);
    if (source.monitor == effi_no_monitor) {
        return {};
    }
    const register_window monitor = map_block(effi_monitor_block, source.monitor);
    if (!monitor) {
        return {};
    }
    start(monitor, source);
    effi_wait_done(monitor, source.monitor);
    const effi_sample sample = read_sample(monitor, has_burst(type));
    stop(monitor);
    return sample;
}

u32 effi_measure(s32 id, u32 port, u32 type, total_result &result) {
    const effi_sample sample = has_burst(type) ? effi_sample{} : effi_take_sample(id, port, type);

    if (sample.measured) {
        result.ultra = sample.ultra;
        result.pultra = sample.pultra;
    }
    return sample.efficiency;
}

u32 effi_measure(s32 id, u32 port, u32 type, effi_result &result) {
    const effi_sample sample = has_burst(type) ? effi_take_sample(id, port, type) : effi_sample{};

    if (sample.measured) {
        result = {sample.ultra, sample.pultra, sample.burst};
    }
    return sample.efficiency;
}
