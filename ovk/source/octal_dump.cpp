// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/octal_dump.h"

#include <charconv>
#include <cstdint>
#include <sstream>

namespace ovk {

namespace {

// All of the word, or nothing.
std::optional<std::size_t> octal(const std::string &word) {
    std::size_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, 8);

    if (error != std::errc() || end != word.data() + word.size()) {
        return std::nullopt;
    }
    return value;
}

// Appends the bytes of a line that has its place right behind those there are.
bool append_line(const std::string &line, std::string &bytes) {
    std::istringstream words(line);
    std::string word;

    if (!(words >> word) || octal(word) != bytes.size()) {
        return false;
    }
    while (words >> word) {
        const auto byte = octal(word);
        if (word.size() != 3 || !byte || *byte > UINT8_MAX) {
            return false;
        }
        bytes += static_cast<char>(*byte);
    }
    return true;
}

}  // namespace

std::optional<std::string> bytes_of_dump(const std::vector<std::string> &lines) {
    std::string bytes;

    for (const std::string &each : lines) {
        if (!append_line(each, bytes)) {
            return std::nullopt;
        }
    }
    // The last one is the length alone.
    if (lines.empty() || octal(lines.back()) != bytes.size()) {
        return std::nullopt;
    }
    return bytes;
}

}  // namespace ovk
