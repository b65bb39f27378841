// SPDX-License-Identifier: GPL-2.0-only
// What a recording tells about each module and port.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "ovk/report/figures.h"

namespace ovk {

struct figure_place {
    std::string report = {};
    label module = {};
    label block = {};  // "larb 5"
    figure port = {};
    std::string name = {};  // of the figure, with its unit

    auto operator<=>(const figure_place &) const = default;
};

struct recorded_figures {
    std::string source = {};
    std::size_t reads = 0;                                    // of reports
    std::size_t failed = 0;                                   // of these
    std::size_t incomplete = 0;                               // the others that are not complete
    std::vector<figure_place> places = {};                    // as they come in the reports
    std::map<figure_place, std::vector<double>> values = {};  // without the unknown ones
};

// Throws failure(unreachable) for what is no recording.
recorded_figures recorded_figures_of(const std::string &recording);

}  // namespace ovk
