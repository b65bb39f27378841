// SPDX-License-Identifier: GPL-2.0-only
#include <climits>
#include <cstdint>

#include "platform/host/argument_list.h"
#include "platform/host/kernel_text.h"
#include "platform/host/parse_integer.h"

namespace host {

namespace {

class scanner {
  public:
    scanner(const char *text, const char *format, va_list arguments, oops_log &oopses)
        : start_(text), text_(text), format_(format), arguments_(arguments), oopses_(oopses) {}

    int run() {
        while (*format_ && step()) {
        }
        return converted_;
    }

  private:
    static constexpr int no_width = -1;

    // Each of these tells whether scanning goes on.
    bool step();
    bool literal();
    bool conversion();
    bool skipped_field();
    bool dispatch(char kind);
    bool characters();
    bool word();
    bool integer(unsigned base, bool is_signed);
    bool percent();
    bool unsupported(char kind);

    bool read_width();
    void read_length();
    bool starts_integer(unsigned base, bool is_signed) const;
    unsigned long long take_number(unsigned base, bool is_signed);
    void store_integer(unsigned long long value);

    static const char *after_spaces(const char *text) {
        while (is_space(*text)) {
            ++text;
        }
        return text;
    }

    const char *start_;
    const char *text_;
    const char *format_;
    argument_list arguments_;
    oops_log &oopses_;
    int width_ = no_width;
    char length_ = 0;  // 'h', 'l', 'z', 'H' for hh, 'L' for ll
    int converted_ = 0;
};

bool scanner::step() {
    if (is_space(*format_)) {
        format_ = after_spaces(format_);
        text_ = after_spaces(text_);
    }
    if (!*format_) {
        return false;
    }
    return *format_ == '%' ? conversion() : literal();
}

bool scanner::literal() {
    return *format_++ == *text_++;
}

bool scanner::conversion() {
    ++format_;
    if (*format_ == '*') {
        return skipped_field();
    }
    if (!read_width()) {
        return false;
    }
    read_length();
    if (*format_ == 'n') {
        ++format_;
        *arguments_.take<int *>() = static_cast<int>(text_ - start_);
        return true;
    }
    if (!*format_ || !*text_) {
        return false;
    }
    return dispatch(*format_++);
}

bool scanner::skipped_field() {
    if (!*text_) {
        return false;
    }
    while (!is_space(*format_) && *format_ != '%' && *format_) {
        if (*format_ == '[') {
            return unsupported('[');
        }
        ++format_;
    }
    while (!is_space(*text_) && *text_) {
        ++text_;
    }
    return true;
}

bool scanner::read_width() {
    width_ = no_width;
    if (!is_digit(*format_)) {
        return true;
    }
    width_ = 0;
    while (is_digit(*format_)) {
        width_ = static_cast<std::int16_t>(width_ * 10 + (*format_++ - '0'));
    }
    return width_ > 0;
}

void scanner::read_length() {
    length_ = 0;
    if (*format_ != 'h' && *format_ != 'l' && *format_ != 'L' && *format_ != 'z') {
        return;
    }
    length_ = *format_++;
    if (length_ == *format_ && (length_ == 'h' || length_ == 'l')) {
        length_ = length_ == 'h' ? 'H' : 'L';
        ++format_;
    }
}

bool scanner::dispatch(char kind) {
    switch (kind) {
        case 'c':
            return characters();
        case 's':
            return word();
        case 'o':
            return integer(8, false);
        case 'x':
        case 'X':
            return integer(16, false);
        case 'i':
            return integer(0, true);
        case 'd':
            return integer(10, true);
        case 'u':
            return integer(10, false);
        case '%':
            return percent();
        default:
            return unsupported(kind);
    }
}

bool scanner::characters() {
    char *destination = arguments_.take<char *>();
    int left = width_ == no_width ? 1 : width_;
    do {
        *destination++ = *text_++;
    } while (--left > 0 && *text_);
    ++converted_;
    return true;
}

bool scanner::word() {
    char *destination = arguments_.take<char *>();
    int left = width_ == no_width ? SHRT_MAX : width_;
    text_ = after_spaces(text_);
    while (*text_ && !is_space(*text_) && left-- > 0) {
        *destination++ = *text_++;
    }
    *destination = '\0';
    ++converted_;
    return true;
}

bool scanner::percent() {
    return *text_++ == '%';
}

bool scanner::unsupported(char kind) {
    oopses_.add(std::string("sscanf does not know %") + kind);
    return false;
}

bool scanner::starts_integer(unsigned base, bool is_signed) const {
    char first = *text_;
    if (is_signed && first == '-') {
        if (width_ == 1) {
            return false;
        }
        first = text_[1];
    }
    switch (base) {
        case 16:
            return is_hexadecimal_digit(first);
        case 8:
            return first >= '0' && first <= '7';
        default:
            return is_digit(first);
    }
}

unsigned long long scanner::take_number(unsigned base, bool is_signed) {
    std::size_t room = width_ == no_width ? INT_MAX : static_cast<std::size_t>(width_);
    const bool negative = is_signed && *text_ == '-';
    if (negative) {
        ++text_;
        --room;
    }
    const char *first = after_radix_prefix(text_, &base);
    const auto prefix = static_cast<std::size_t>(first - text_);
    if (prefix >= room) {
        text_ += room;
        return 0;
    }
    // A bare "0x" counts as the number 0.
    const digits number = read_digits(first, base, room - prefix);
    text_ = first + number.count;
    return negative ? -number.value : number.value;
}

bool scanner::integer(unsigned base, bool is_signed) {
    text_ = after_spaces(text_);
    if (!starts_integer(base, is_signed)) {
        return false;
    }
    store_integer(take_number(base, is_signed));
    ++converted_;
    return true;
}

void scanner::store_integer(unsigned long long value) {
    switch (length_) {
        case 'H':
            *arguments_.take<unsigned char *>() = static_cast<unsigned char>(value);
            break;
        case 'h':
            *arguments_.take<unsigned short *>() = static_cast<unsigned short>(value);
            break;
        case 'l':
        case 'z':
            *arguments_.take<unsigned long *>() = value;
            break;
        case 'L':
            *arguments_.take<unsigned long long *>() = value;
            break;
        default:
            *arguments_.take<unsigned int *>() = static_cast<unsigned int>(value);
    }
}

}  // namespace

int scan_text(const char *text, const char *format, va_list arguments, oops_log &oopses) {
    return scanner(text, format, arguments, oopses).run();
}

}  // namespace host
