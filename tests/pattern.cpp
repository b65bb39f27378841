// SPDX-License-Identifier: GPL-2.0-only
#include "tests/pattern.h"

#include <map>
#include <regex>

namespace tests {

static const std::regex &compiled(const std::string &pattern) {
    static thread_local std::map<std::string, std::regex> known;

    return known.try_emplace(pattern, pattern).first->second;
}

bool contains(const std::string &text, const std::string &pattern) {
    return std::regex_search(text, compiled(pattern));
}

std::vector<std::string> groups_of(const std::string &text, const std::string &pattern) {
    std::smatch found;

    if (!std::regex_match(text, found, compiled(pattern))) {
        return {};
    }
    return {std::next(found.begin()), found.end()};
}

std::string replaced(const std::string &text, const std::string &pattern, const std::string &with) {
    return std::regex_replace(text, compiled(pattern), with);
}

std::string plain(const std::string &text) {
    return replaced(text, "\033\\[[0-9;]*[A-Za-z]", "");
}

}  // namespace tests
