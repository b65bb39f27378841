// SPDX-License-Identifier: GPL-2.0-only
// How the second of two recordings differs from the first.
#pragma once

#include <optional>
#include <string>

namespace ovk {

struct comparison {
    std::string text;          // in the format that was asked for
    std::size_t exceeded = 0;  // figures that have grown by more than the limit
};

// The format is text, json or csv. Throws failure(unreachable) for what is no recording.
comparison compare_recordings(const std::string &before, const std::string &after,
                              std::optional<double> max_increase_percent,
                              const std::string &format);

}  // namespace ovk
