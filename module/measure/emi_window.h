// SPDX-License-Identifier: GPL-2.0-only
// The EMI channels' register windows, broadcast mode and the end of a monitor run.
#pragma once

#include "core/mon_cfg.h"
#include "platform/kernel.h"

// Maps EMI channels 0 to emi_cnt - 1 into cfg.base. 0, or -ENXIO when a channel can't be had (which
// has been logged) or there are more than three; the windows mapped so far stay in `cfg`.
s32 emi_set_base(measure_cfg &cfg);

// Unmaps whatever channels `cfg` holds.
void emi_release_base(measure_cfg &cfg);

// While it is on, a write through channel 0's window reaches every channel. It is a mode of the
// whole chip. Without a dispatch block it only logs, and writes go on reaching channel 0 alone.
void enable_broadcast_mode(bool on);

// Length of a monitor run of `time` ms in EMI clock cycles; the product keeps 32 bits.
u32 emi_run_length(u32 time);

// Waits for the end of a monitor run of `time` ms, yielding the processor in between. False: not
// done after twice the time and 100 ms, which has been logged, or killed while waiting.
bool emi_wait_done(const register_window &channel, u32 time);
