// SPDX-License-Identifier: GPL-2.0-only
// The digits under the kernel's kstrto* and sscanf.
#pragma once

#include <cstddef>

namespace host {

// The kernel's notion, by Latin-1: the no-break space is one.
bool is_space(char c);
bool is_digit(char c);
bool is_hexadecimal_digit(char c);

// Resolves base 0 by the prefix of the text and steps over the prefix of base 16.
const char *after_radix_prefix(const char *text, unsigned *base);

struct digits {
    unsigned long long value;  // modulo 2^64
    std::size_t count;
    bool overflow;
};
digits read_digits(const char *text, unsigned base, std::size_t most);

}  // namespace host
