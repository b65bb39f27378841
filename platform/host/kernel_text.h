// SPDX-License-Identifier: GPL-2.0-only
// Formatting and parsing with the kernel's semantics, which are not the C library's.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

#include "platform/host/collector.h"

namespace host {

class live_tree;

struct format_context {
    live_tree &tree;  // names the nodes of %pOF
    oops_log &oopses;
};

// vsnprintf: stores at most size - 1 characters and a NUL, and returns the length of the whole
// text.
int format_text(char *buffer, std::size_t size, const char *format, va_list arguments,
                const format_context &context);
// vscnprintf: the same, and returns the number of characters stored.
int format_stored_text(char *buffer, std::size_t size, const char *format, va_list arguments,
                       const format_context &context);
// The text in a string, cut to `longest` characters.
std::string formatted(std::size_t longest, const char *format, va_list arguments,
                      const format_context &context);

// vsscanf: the number of conversions stored before the first mismatch, never negative. Integers
// wrap silently and are stored truncated to the width of their destination.
int scan_text(const char *text, const char *format, va_list arguments, oops_log &oopses);

// 0, -ERANGE or -EINVAL. The result is untouched on failure.
int parse_uint(const char *text, unsigned base, unsigned *result);
int parse_bool(const char *text, bool *result);

}  // namespace host
