// SPDX-License-Identifier: GPL-2.0-only
// The handlers of the attributes, in the one form in which sysfs calls them.
#pragma once

#include "platform/kernel.h"

// A read: fills the page and returns the length of the report, or a negative error code.
#define SHOW_HANDLER(attribute) \
    extern "C" ssize_t attribute##_show([[maybe_unused]] device_driver *driver, char *buf)

// A write: returns the length it was given, also when it refuses the text. Only `cpupri` refuses
// with a negative code, and the EMI limits return one when killed.
#define STORE_HANDLER(attribute)                                                                  \
    extern "C" ssize_t attribute##_store([[maybe_unused]] device_driver *driver, const char *buf, \
                                         size_t count)

// The text was taken, or refused without the writer's knowing.
inline ssize_t taken(size_t count) {
    return static_cast<ssize_t>(count);
}
