// SPDX-License-Identifier: GPL-2.0-only
// Recordings as one page of HTML that needs nothing else.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ovk/report/render.h"

namespace ovk {

// A recording in columns: for each report the times of its sweeps and every figure's values, null
// where one is not known; the events; the facts of the header. Throws failure(unreachable) for what
// is no recording.
json columns_of(const std::string &recording, std::optional<double> penalty_percent);

// The page for one recording, or for two to be laid over each other.
std::string page_of(const std::vector<std::string> &recordings,
                    std::optional<double> penalty_percent);

}  // namespace ovk
