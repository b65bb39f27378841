// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "platform/host/argument_list.h"
#include "platform/host/kernel_text.h"
#include "platform/host/live_tree.h"
#include "platform/host/parse_integer.h"

namespace host {

namespace {

// Counts every character and stores those that fit.
class text_sink {
  public:
    text_sink(char *buffer, std::size_t size) : buffer_(buffer), size_(size) {}

    void put(char c) {
        if (length_ < size_) {
            buffer_[length_] = c;
        }
        ++length_;
    }
    void put(std::string_view text) {
        for (const char c : text) {
            put(c);
        }
    }
    void repeat(char c, long count) {
        for (; count > 0; --count) {
            put(c);
        }
    }
    std::size_t terminate() {
        if (size_ > 0) {
            buffer_[std::min(length_, size_ - 1)] = '\0';
        }
        return length_;
    }

  private:
    char *buffer_;
    std::size_t size_;
    std::size_t length_ = 0;
};

struct conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool prefixed = false;
    bool zeros = false;
    bool lower_case = false;
    bool is_signed = false;
    int width = -1;
    int precision = -1;
    char length = 0;  // 'h', 'l', 'z', 't', 'H' for hh, 'L' for ll
};

class formatter {
  public:
    formatter(text_sink &sink, const char *format, va_list arguments, const format_context &context)
        : sink_(sink), format_(format), arguments_(arguments), context_(context) {}

    void run();

  private:
    conversion read_conversion();
    void read_flags(conversion &how);
    void read_width(conversion &how);
    void read_precision(conversion &how);
    void read_length(conversion &how);
    int read_decimal();
    bool convert(conversion how, char kind);  // false: the format is unusable from here on
    bool unsupported(char kind);

    void character(const conversion &how);
    void string(const conversion &how, const char *text);
    void padded(const conversion &how, std::string_view text);
    void integer(const conversion &how, unsigned base);
    void number(const conversion &how, unsigned base, std::uint64_t value);
    std::uint64_t take_integer(const conversion &how);
    void pointer(conversion how);
    void address(conversion how, std::uint64_t value);
    void node(const conversion &how, const device_node *what, std::string_view parts);

    text_sink &sink_;
    const char *format_;
    argument_list arguments_;
    const format_context &context_;
};

void formatter::run() {
    while (*format_) {
        if (*format_ != '%') {
            sink_.put(*format_++);
            continue;
        }
        ++format_;
        const conversion how = read_conversion();
        const char kind = *format_;
        if (!kind || !convert(how, kind)) {
            return;
        }
    }
}

conversion formatter::read_conversion() {
    conversion how;
    read_flags(how);
    read_width(how);
    read_precision(how);
    read_length(how);
    return how;
}

void formatter::read_flags(conversion &how) {
    for (;; ++format_) {
        switch (*format_) {
            case '-':
                how.left = true;
                break;
            case '+':
                how.plus = true;
                break;
            case ' ':
                how.blank = true;
                break;
            case '#':
                how.prefixed = true;
                break;
            case '0':
                how.zeros = true;
                break;
            default:
                return;
        }
    }
}

int formatter::read_decimal() {
    int value = 0;
    while (is_digit(*format_)) {
        value = value * 10 + (*format_++ - '0');
    }
    return value;
}

void formatter::read_width(conversion &how) {
    constexpr int widest = (1 << 23) - 1;
    if (is_digit(*format_)) {
        how.width = read_decimal();
        return;
    }
    if (*format_ != '*') {
        return;
    }
    ++format_;
    const int asked = std::clamp(arguments_.take<int>(), -widest, widest);
    how.left |= asked < 0;
    how.width = asked < 0 ? -asked : asked;
}

void formatter::read_precision(conversion &how) {
    if (*format_ != '.') {
        return;
    }
    ++format_;
    if (is_digit(*format_)) {
        how.precision = read_decimal();
    } else if (*format_ == '*') {
        ++format_;
        how.precision = std::max(arguments_.take<int>(), 0);
    }
}

void formatter::read_length(conversion &how) {
    if (!*format_ || !std::strchr("hlLzt", *format_)) {
        return;
    }
    how.length = *format_++;
    if (how.length == *format_ && (how.length == 'h' || how.length == 'l')) {
        how.length = how.length == 'h' ? 'H' : 'L';
        ++format_;
    }
}

bool formatter::unsupported(char kind) {
    context_.oopses.add(std::string("printk formats do not know %") + kind);
    return false;
}

bool formatter::convert(conversion how, char kind) {
    ++format_;
    switch (kind) {
        case '%':
            sink_.put('%');
            return true;
        case 'c':
            character(how);
            return true;
        case 's':
            string(how, arguments_.take<const char *>());
            return true;
        case 'p':
            pointer(how);
            return true;
        case 'd':
        case 'i':
            how.is_signed = true;
            integer(how, 10);
            return true;
        case 'u':
            integer(how, 10);
            return true;
        case 'o':
            integer(how, 8);
            return true;
        case 'x':
            how.lower_case = true;
            integer(how, 16);
            return true;
        case 'X':
            integer(how, 16);
            return true;
        default:
            return unsupported(kind);
    }
}

void formatter::character(const conversion &how) {
    const char c = static_cast<char>(arguments_.take<int>());
    padded(how, {&c, 1});
}

void formatter::padded(const conversion &how, std::string_view text) {
    const long padding = how.width - static_cast<long>(text.size());
    if (!how.left) {
        sink_.repeat(' ', padding);
    }
    sink_.put(text);
    if (how.left) {
        sink_.repeat(' ', padding);
    }
}

// What the kernel prints in place of a pointer that it does not follow; null for a good one.
const char *stand_in(const void *pointer) {
    constexpr std::uintptr_t page = 4096;
    constexpr std::uintptr_t first_error = static_cast<std::uintptr_t>(-4095);
    const auto value = reinterpret_cast<std::uintptr_t>(pointer);
    if (!pointer) {
        return "(null)";
    }
    return value < page || value >= first_error ? "(efault)" : nullptr;
}

void formatter::string(const conversion &how, const char *text) {
    if (const char *instead = stand_in(text)) {
        text = instead;
    }
    const std::size_t most = how.precision < 0 ? SIZE_MAX : static_cast<std::size_t>(how.precision);
    std::size_t length = 0;
    while (length < most && text[length]) {
        ++length;
    }
    padded(how, {text, length});
}

std::uint64_t formatter::take_integer(const conversion &how) {
    switch (how.length) {
        case 'L':
            return arguments_.take<unsigned long long>();
        case 'l':
        case 'z':
        case 't':
            return arguments_.take<unsigned long>();
        default:
            break;
    }
    const int value = arguments_.take<int>();
    switch (how.length) {
        case 'H':
            return how.is_signed ? static_cast<std::uint64_t>(static_cast<signed char>(value))
                                 : static_cast<unsigned char>(value);
        case 'h':
            return how.is_signed ? static_cast<std::uint64_t>(static_cast<short>(value))
                                 : static_cast<unsigned short>(value);
        default:
            return how.is_signed ? static_cast<std::uint64_t>(value)
                                 : static_cast<unsigned int>(value);
    }
}

void formatter::integer(const conversion &how, unsigned base) {
    number(how, base, take_integer(how));
}

std::string digits_of(std::uint64_t value, unsigned base, bool lower_case) {
    const char *symbols = lower_case ? "0123456789abcdef" : "0123456789ABCDEF";
    std::string text;
    do {
        text.insert(text.begin(), symbols[value % base]);
        value /= base;
    } while (value > 0);
    return text;
}

std::string sign_of(const conversion &how, bool negative) {
    if (negative) {
        return "-";
    }
    if (!how.is_signed) {
        return "";
    }
    if (how.plus) {
        return "+";
    }
    return how.blank ? " " : "";
}

std::string prefix_of(const conversion &how, unsigned base, bool zero) {
    if (!how.prefixed || base == 10) {
        return "";
    }
    if (base == 16) {
        return how.lower_case ? "0x" : "0X";
    }
    return zero ? "" : "0";
}

// The kernel keeps padding with zeros when a precision is given, prints a zero of precision 0 and
// prefixes a hexadecimal zero.
void formatter::number(const conversion &how, unsigned base, std::uint64_t value) {
    const bool negative = how.is_signed && static_cast<std::int64_t>(value) < 0;
    const std::string digits = digits_of(negative ? -value : value, base, how.lower_case);
    const std::string front = sign_of(how, negative) + prefix_of(how, base, value == 0);
    const long precision = std::max<long>(how.precision, static_cast<long>(digits.size()));
    const long padding = how.width - precision - static_cast<long>(front.size());
    if (!how.left && !how.zeros) {
        sink_.repeat(' ', padding);
    }
    sink_.put(front);
    if (!how.left && how.zeros) {
        sink_.repeat('0', padding);
    }
    sink_.repeat('0', precision - static_cast<long>(digits.size()));
    sink_.put(digits);
    if (how.left) {
        sink_.repeat(' ', padding);
    }
}

void formatter::address(conversion how, std::uint64_t value) {
    how.lower_case = true;
    if (how.width < 0) {
        how.width = 2 * sizeof(void *);
        how.zeros = true;
    }
    number(how, 16, value);
}

// A plain %p shows no address but a number that stands for it.
std::uint64_t disguised(std::uint64_t address) {
    constexpr std::uint64_t odd_multiplier = 0x9e37'79b9'7f4a'7c15;
    return address * odd_multiplier >> 32;
}

void formatter::pointer(conversion how) {
    const void *value = arguments_.take<const void *>();
    const char *first = format_;
    while (is_digit(*format_) || (*format_ >= 'a' && *format_ <= 'z') ||
           (*format_ >= 'A' && *format_ <= 'Z')) {
        ++format_;
    }
    const std::string_view kind(first, static_cast<std::size_t>(format_ - first));
    if (kind.starts_with("OF")) {
        node(how, static_cast<const device_node *>(value), kind.substr(2));
        return;
    }
    const auto number = reinterpret_cast<std::uint64_t>(value);
    if (kind == "x" || !value) {
        address(how, number);
        return;
    }
    if (!kind.empty()) {
        context_.oopses.add("printk formats do not know %p" + std::string(kind));
    }
    address(how, disguised(number));
}

void formatter::node(const conversion &how, const device_node *what, std::string_view parts) {
    if (const char *instead = stand_in(what)) {
        padded(how, instead);
        return;
    }
    const devicetree::node *source = context_.tree.usable(what, "%pOF");
    if (parts.empty() || (parts[0] != 'f' && parts[0] != 'n')) {
        parts = "f";
    }
    std::string text;
    for (const char part : parts) {
        if (part != 'f' && part != 'n') {
            unsupported(part);
            break;
        }
        text += text.empty() ? "" : ":";
        text += part == 'f' ? source->path : source->name;
    }
    padded(how, text);
}

}  // namespace

int format_text(char *buffer, std::size_t size, const char *format, va_list arguments,
                const format_context &context) {
    if (size > INT_MAX) {
        context.oopses.add("text is formatted into a buffer of negative or absurd size");
        return 0;
    }
    text_sink sink(buffer, size);
    formatter(sink, format, arguments, context).run();
    return static_cast<int>(sink.terminate());
}

int format_stored_text(char *buffer, std::size_t size, const char *format, va_list arguments,
                       const format_context &context) {
    if (size == 0) {
        return 0;
    }
    const int length = format_text(buffer, size, format, arguments, context);
    return std::min(length, static_cast<int>(std::min<std::size_t>(size - 1, INT_MAX)));
}

std::string formatted(std::size_t longest, const char *format, va_list arguments,
                      const format_context &context) {
    std::string text(longest + 1, '\0');
    const int length = format_stored_text(text.data(), text.size(), format, arguments, context);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

}  // namespace host
