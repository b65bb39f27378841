// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/attribute_names.h"

#include <algorithm>

#include "ovk/base/failure.h"

namespace ovk {

static bool is_letter_or_digit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

std::string checked_name(const std::string &source_name, std::string_view attribute) {
    const bool good = std::all_of(attribute.begin(), attribute.end(), [](char each) {
        return is_letter_or_digit(each) || each == '_' || each == '-';
    });

    if (attribute.empty() || !good) {
        throw failure(exit_status::usage, source_name + ": '" + std::string(attribute) +
                                              "' can't be the name of an attribute");
    }
    return std::string(attribute);
}

std::vector<std::string> attributes_among(std::vector<std::string> files) {
    std::erase_if(files, [](const std::string &each) {
        return each == "bind" || each == "unbind" || each == "uevent" || each == "module";
    });
    std::sort(files.begin(), files.end());
    return files;
}

std::string first_line(const std::string &text) {
    return text.substr(0, text.find_first_of(std::string("\n\0", 2)));
}

}  // namespace ovk
