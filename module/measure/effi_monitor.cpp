// SPDX-License-Identifier: GPL-2.0-only
#include "measure/effi_monitor.h"

#include "base/trace.h"
#include "core/config.h"
#include "registers/effi_monitor.h"

static constexpr unsigned long poll_min_us = 999;
static constexpr unsigned long poll_max_us = 1001;
static constexpr u32 poll_limit = 50;
static constexpr u32 slow_poll_limit = 500;  // at the slow EMI clocks
static constexpr u32 slow_emi_clocks[] = {432, 456};

static void update_control(const register_window &monitor, u32 clear, u32 set) {
    monitor.update32(effi_control, clear, set);
    wmb();
}

// Makes the result register show one of effi_select_*.
static void select_result(const register_window &monitor, u32 selector) {
    update_control(monitor, effi_control_selector, 0);
    update_control(monitor, 0, selector << effi_control_selector_shift);
}

static void select_requests(const register_window &monitor, const effi_selection &selection) {
    if (selection.mask == effi_mask_none) {
        monitor.write32(effi_selection_value, selection.value);
        monitor.write32(effi_selection_mask, selection.mask);
        return;
    }
    monitor.write32(effi_selection_mask, selection.mask);
    monitor.write32(effi_selection_value, selection.value);
}

static void start(const register_window &monitor, const effi_selection &selection) {
    wmb();
    monitor.write32(effi_control, effi_control_reset);
    monitor.write32(effi_control, 0);
    select_requests(monitor, selection);
    monitor.update64(effi_control, 0, effi_control_armed);
    select_result(monitor, effi_select_efficiency);
    update_control(monitor, 0, effi_control_run);
}

void effi_reset(const register_window &monitor) {
    monitor.write32(effi_control, effi_control_reset);
    wmb();
    monitor.write32(effi_control, 0);
}

void effi_prepare_at_emi(const register_window &monitor) {
    effi_reset(monitor);
    monitor.write32(effi_selection_value, 0);
    monitor.write32(effi_selection_mask, effi_mask_none);
    monitor.update64(effi_control, 0, effi_control_armed);
    update_control(monitor, effi_control_selector, 0);
    monitor.update32(effi_control, 0, effi_select_efficiency << effi_control_selector_shift);
}

void effi_start_at_emi(const register_window &monitor) {
    monitor.update32(effi_control, 0, effi_control_run);
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

static void wait_until_done(const register_window &monitor, u32 number) {
    bool done = is_done(monitor);

    for (u32 left = wait_limit(); !done && left > 0 && !is_killed(); left--) {
        usleep_range(poll_min_us, poll_max_us);
        done = is_done(monitor);
    }
    if (!done && !is_killed()) {
        TRACE("[OVK-BW] EFFI [P%u] time out\n", number);
    }
}

static u32 read_result(const register_window &monitor, u32 selector) {
    select_result(monitor, selector);
    return monitor.read32(effi_result_value);
}

// The selector stands at the efficiency since the start.
static effi_sample read_sample(const register_window &monitor, bool with_burst) {
    effi_sample sample{};

    sample.measured = true;
    sample.efficiency = monitor.read32(effi_result_value);
    sample.ultra = read_result(monitor, effi_select_ultra);
    select_result(monitor, effi_select_burst);
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

effi_sample effi_run(const register_window &monitor, u32 number, const effi_selection &selection,
                     bool with_burst) {
    start(monitor, selection);
    wait_until_done(monitor, number);
    const effi_sample sample = read_sample(monitor, with_burst);
    stop(monitor);
    return sample;
}

// The selector moves on to the burst bit by bit.
effi_sample effi_finish_at_emi(const register_window &monitor, u32 number) {
    effi_sample sample{};

    wait_until_done(monitor, number);
    sample.measured = true;
    sample.efficiency = monitor.read32(effi_result_value);
    for (u32 bit = 1; bit <= effi_select_pultra; bit <<= 1) {
        monitor.update_low16(effi_control, bit << effi_control_selector_shift, 0);
    }
    wmb();
    sample.burst = monitor.read32(effi_result_value);
    effi_reset(monitor);
    return sample;
}
