// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/parse_integer.h"

#include <cerrno>
#include <climits>
#include <cstdint>

#include "platform/host/kernel_text.h"

namespace host {

static constexpr unsigned decimal = 10;
static constexpr unsigned no_digit = UINT_MAX;

bool is_space(char c) {
    constexpr char no_break_space = '\xa0';
    return c == ' ' || (c >= '\t' && c <= '\r') || c == no_break_space;
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

static unsigned digit_value(char c) {
    if (is_digit(c)) {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned>(c - 'a') + decimal;
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<unsigned>(c - 'A') + decimal;
    }
    return no_digit;
}

bool is_hexadecimal_digit(char c) {
    return digit_value(c) != no_digit;
}

static bool has_hexadecimal_prefix(const char *text) {
    return text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

const char *after_radix_prefix(const char *text, unsigned *base) {
    if (*base == 0 && has_hexadecimal_prefix(text) && is_hexadecimal_digit(text[2])) {
        *base = 16;
    } else if (*base == 0) {
        *base = text[0] == '0' ? 8 : decimal;
    }
    return *base == 16 && has_hexadecimal_prefix(text) ? text + 2 : text;
}

digits read_digits(const char *text, unsigned base, std::size_t most) {
    digits result = {0, 0, false};
    while (result.count < most) {
        const unsigned digit = digit_value(text[result.count]);
        if (digit == no_digit || digit >= base) {
            break;
        }
        result.overflow |= result.value > (ULLONG_MAX - digit) / base;
        result.value = result.value * base + digit;
        ++result.count;
    }
    return result;
}

int parse_uint(const char *text, unsigned base, unsigned *result) {
    if (*text == '+') {
        ++text;
    }
    text = after_radix_prefix(text, &base);
    const digits number = read_digits(text, base, SIZE_MAX);
    if (number.overflow) {
        return -ERANGE;
    }
    if (number.count == 0) {
        return -EINVAL;
    }
    text += number.count;
    if (*text == '\n') {
        ++text;
    }
    if (*text) {
        return -EINVAL;
    }
    if (number.value > UINT_MAX) {
        return -ERANGE;
    }
    *result = static_cast<unsigned>(number.value);
    return 0;
}

static int second_letter_decides(char letter, bool *result) {
    switch (letter) {
        case 'n':
        case 'N':
            *result = true;
            return 0;
        case 'f':
        case 'F':
            *result = false;
            return 0;
        default:
            return -EINVAL;
    }
}

int parse_bool(const char *text, bool *result) {
    if (!text) {
        return -EINVAL;
    }
    switch (text[0]) {
        case 'y':
        case 'Y':
        case 't':
        case 'T':
        case '1':
            *result = true;
            return 0;
        case 'n':
        case 'N':
        case 'f':
        case 'F':
        case '0':
            *result = false;
            return 0;
        case 'o':
        case 'O':
            return second_letter_decides(text[1], result);
        default:
            return -EINVAL;
    }
}

}  // namespace host
