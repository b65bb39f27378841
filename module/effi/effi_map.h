// SPDX-License-Identifier: GPL-2.0-only
// Which efficiency monitor watches what.
#pragma once

#include "platform/kernel.h"

struct effi_map_row {
    u32 kind;     // 1: an SMI common path, 0: something else
    u32 source;   // kind 1: SMI common id, kind 0: the monitor's own number
    u32 select;   // kind 1: the path-select bit that leads to this monitor
    u32 monitor;  // number in the monitor's node name
};

// Monitors behind the SMI commons only.
inline constexpr effi_map_row effi_device_map[] = {
    {1, 0, 0, 0},  {1, 0, 1, 1},  {1, 1, 0, 2},  {1, 1, 1, 3},  {1, 2, 0, 4},
    {1, 5, 0, 5},  {1, 3, 0, 6},  {1, 4, 0, 7},  {1, 6, 0, 8},  {1, 6, 1, 9},
    {1, 7, 0, 10}, {1, 7, 1, 11}, {1, 2, 1, 12}, {1, 5, 1, 13},
};

// Monitors at the EMI ports, some of which are also the end of an SMI common path.
inline constexpr effi_map_row emi_effi_device_map[] = {
    {0, 0, 0, 0}, {0, 1, 0, 1}, {1, 0, 0, 2}, {1, 0, 1, 3},
    {1, 1, 0, 4}, {1, 2, 0, 5}, {0, 6, 0, 6}, {0, 7, 0, 7},
};
