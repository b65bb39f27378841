// SPDX-License-Identifier: GPL-2.0-only
// Texts and patterns of the ECMAScript form. They meet in one source: they take long to compile.
#pragma once

#include <string>
#include <vector>

namespace tests {

bool contains(const std::string &text, const std::string &pattern);

// The pattern's groups in a text that matches as a whole; none if it doesn't.
std::vector<std::string> groups_of(const std::string &text, const std::string &pattern);

std::string replaced(const std::string &text, const std::string &pattern, const std::string &with);

// The text without terminal control sequences.
std::string plain(const std::string &text);

}  // namespace tests
