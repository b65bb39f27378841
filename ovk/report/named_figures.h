// SPDX-License-Identifier: GPL-2.0-only
// The figures of any report, each by a name of its own: "usage.percent",
// "modules.VDEC.bus_mbps", "channels.0.ports.3.latency_ns".
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ovk/report/render.h"

namespace ovk {

struct named_figure {
    std::string name;
    std::string family;  // the name without the elements' own: "modules.bus_mbps"
    // Which element of each list: {"module", "VDEC"}.
    std::vector<std::pair<std::string, std::string>> labels = {};
    std::optional<double> value = {};  // nothing: not known
};

// In the order of the members. What only tells which element it is, or when, is no figure; the bars
// repeat the modules' figures and are left out.
std::vector<named_figure> figures_of(const json &report);
std::vector<named_figure> figures_of(const any_report &report);

// All that a report of that kind can have, with an element in every list.
std::vector<named_figure> possible_figures_of(const any_report &kind);

// A whole one without a decimal point.
json number_of(double value);

}  // namespace ovk
