// SPDX-License-Identifier: GPL-2.0-only
// Bytes as `od -v -b` writes them: lines of an offset and up to 16 bytes, in octal, and the length
// on a line of its own. What a link adds or takes away shows.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ovk {

// The bytes; nothing when the lines are no whole dump.
std::optional<std::string> bytes_of_dump(const std::vector<std::string> &lines);

}  // namespace ovk
