// SPDX-License-Identifier: GPL-2.0-only
#include "core/report_buffer.h"

s32 putbuf(char *buffer, u32 *counter, const char *format, va_list args) {
    const s32 appended = vscnprintf(buffer + *counter, report_buffer_size - *counter, format, args);

    *counter += static_cast<u32>(appended);
    return appended;
}

void report_page::put(const char *format, ...) {
    va_list args;

    va_start(args, format);
    putbuf(buffer_, &length_, format, args);
    va_end(args);
}
