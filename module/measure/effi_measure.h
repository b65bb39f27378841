// SPDX-License-Identifier: GPL-2.0-only
// The efficiency of what passes at one port, from the monitor that watches it.
#pragma once

#include "measure/effi_monitor.h"
#include "platform/kernel.h"

enum effi_type : u32 {
    EFFI_LARB_TOTAL = 0,     // larb port, for a module's total
    EFFI_COMMON_TOTAL = 1,   // SMI common input port, for a module's total
    EFFI_COMMON_DETAIL = 2,  // SMI common input port, with burst
    EFFI_LARB_DETAIL = 3,    // larb port, with burst
    EFFI_MONITOR = 4,        // monitor given by number, all its requests
};

// Measures larb `id` port `port` (EFFI_LARB_*), SMI common `id` input port `port` (EFFI_COMMON_*),
// or all that monitor `port` sees (EFFI_MONITOR, whatever `id`). Where there is nothing to measure
// with, the sample is not `measured`, and the reason is logged if it is a fault. Nor is anything
// measured for a process that is killed already.
effi_sample effi_measure(u32 id, u32 port, effi_type type);
