// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/kernel_messages.h"

#include <array>
#include <cerrno>
#include <charconv>

namespace ovk {

namespace {

constexpr std::size_t longest_record = 8192;
constexpr unsigned most_verbose_level = 7;

// Bytes that do not print stand there as \xNN.
std::string unescaped(std::string_view text) {
    std::string result;

    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned char byte = 0;
        const char *const digits = text.data() + i + 2;
        if (text.substr(i, 2) == "\\x" && i + 4 <= text.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            result += static_cast<char>(byte);
            i += 3;
        } else {
            result += text[i];
        }
    }
    return result;
}

}  // namespace

std::string message_of_record(std::string_view record) {
    unsigned priority = 0;
    const std::size_t start = record.find(';') + 1;

    std::from_chars(record.data(), record.data() + record.size(), priority);
    if (priority > most_verbose_level || start == 0) {
        return "";
    }
    return unescaped(record.substr(start, record.find('\n', start) - start));
}

kernel_messages::kernel_messages() : file_("/dev/kmsg", O_RDONLY | O_NONBLOCK) {
    if (good()) {
        lseek(file_.descriptor(), 0, SEEK_END);
    }
}

std::vector<std::string> kernel_messages::take() {
    std::array<char, longest_record> record;
    std::vector<std::string> found;

    while (good()) {
        const ssize_t count = read(file_.descriptor(), record.data(), record.size());
        if (count < 0 && (errno == EPIPE || errno == EINTR)) {
            continue;  // EPIPE: the oldest were overwritten
        }
        if (count <= 0) {
            break;
        }
        std::string message = message_of_record({record.data(), static_cast<std::size_t>(count)});
        if (!message.empty()) {
            found.push_back(std::move(message));
        }
    }
    return found;
}

}  // namespace ovk
