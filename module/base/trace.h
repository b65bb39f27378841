// SPDX-License-Identifier: GPL-2.0-only
// The trace lines of the measurements, and their switch.
#pragma once

#include "base/shared.h"
#include "platform/kernel.h"

// Non-zero: the measurements log what they find, at alert level.
extern u32 debug_on;

// Logs a line while the switch is on.
#define TRACE(format, ...)                                        \
    do {                                                          \
        if (READ_ONCE(debug_on) != 0) {                           \
            printk(KERN_ALERT format __VA_OPT__(, ) __VA_ARGS__); \
        }                                                         \
    } while (false)
