// SPDX-License-Identifier: GPL-2.0-only
// One efficiency monitor, mapped by the caller.
#pragma once

#include "base/register_window.h"
#include "platform/kernel.h"

// What one measurement found. Priority counts are fresh whenever something was measured, also where
// the efficiency reads 0.
struct effi_sample {
    bool measured;   // false: there was nothing to measure with, and all else is 0
    u32 efficiency;  // percent
    u64 ultra;       // requests out of effi_span
    u64 pultra;
    u64 burst;  // average, in the monitor's own unit; 0 where it was not asked for
};

// Which requests count: those whose input port and larb port are those of `value`, as far as `mask`
// says.
struct effi_selection {
    u32 value;
    u32 mask;
};

// A whole run of monitor `number`: starts, waits, reads and stops it. The wait ends after a limit
// that depends on the EMI clock, or when the process is killed. A monitor that is not done then is
// logged only while debug_on is set: what it holds is read all the same.
effi_sample effi_run(const register_window &monitor, u32 number, const effi_selection &selection,
                     bool with_burst);

// Monitors at EMI ports run beside the EMI's own: they are prepared before, set running with every
// group of ports, and at the end waited for, read and reset. They yield efficiency and burst.
void effi_prepare_at_emi(const register_window &monitor);
void effi_start_at_emi(const register_window &monitor);
effi_sample effi_finish_at_emi(const register_window &monitor, u32 number);

void effi_reset(const register_window &monitor);
