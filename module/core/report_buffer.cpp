// SPDX-License-Identifier: GPL-2.0-only
#include "core/report_buffer.h"

static s32 vputbuf(char *buffer, u32 *counter, const char *format, va_list args) {
    const s32 appended = vscnprintf(buffer + *counter, report_buffer_size - *counter, format, args);

    *counter += static_cast<u32>(appended);
    return appended;
}

s32 putbuf(char *buffer, u32 *counter, const char *format, ...) {
    va_list args;

    va_start(args, format);
    const s32 appended = vputbuf(buffer, counter, format, args);
    va_end(args);
    return appended;
}

void report_page::put(const char *format, ...) {
    va_list args;

    va_start(args, format);
    vputbuf(buffer_, &length_, format, args);
    va_end(args);
}
