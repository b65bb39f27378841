// SPDX-License-Identifier: GPL-2.0-only
// Kernel services: log and text.
#include <cstring>

#include "platform/host/state.h"

int KERNEL_SERVICE(printk)(const char *fmt, ...) {
    host::machine::state &machine = host::current_machine();
    va_list args;
    va_start(args, fmt);
    const std::string text =
        host::formatted(host::kernel_log::longest_record, fmt, args, machine.text_context());
    va_end(args);
    return machine.log.print(text);
}

int KERNEL_SERVICE(snprintf)(char *buf, size_t size, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int length =
        host::format_text(buf, size, fmt, args, host::current_machine().text_context());
    va_end(args);
    return length;
}

int KERNEL_SERVICE(vscnprintf)(char *buf, size_t size, const char *fmt, va_list args) {
    return host::format_stored_text(buf, size, fmt, args, host::current_machine().text_context());
}

int KERNEL_SERVICE(sscanf)(const char *buf, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int converted = host::scan_text(buf, fmt, args, host::current_machine().oopses);
    va_end(args);
    return converted;
}

int KERNEL_SERVICE(kstrtouint)(const char *s, unsigned int base, unsigned int *res) {
    return host::parse_uint(s, base, res);
}

int KERNEL_SERVICE(kstrtobool)(const char *s, bool *res) {
    return host::parse_bool(s, res);
}

int KERNEL_SERVICE(strncmp)(const char *a, const char *b, size_t count) {
    return std::strncmp(a, b, count);
}
