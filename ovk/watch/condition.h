// SPDX-License-Identifier: GPL-2.0-only
// What a sweep is watched for.
#pragma once

#include <string>

#include "ovk/report/named_figures.h"

namespace ovk {

enum class truth { no, yes, unknown };

// "usage_percent > 90", "modules.VDEC.bus_mbps >= 2000", "bus.usage_percent == 100": a figure's
// name as in the JSON, a comparison and a number. The figure is one of the total report unless it
// begins with the name of another report.
class condition {
  public:
    // Throws failure(usage) for what is no condition, and for a figure that no report has.
    explicit condition(const std::string &text);

    const std::string &text() const { return text_; }
    const std::string &report() const { return report_; }
    const std::string &figure() const { return figure_; }

    // A figure that is not known or not there is neither true nor false.
    truth holds(const std::vector<named_figure> &figures) const;

  private:
    std::string text_;
    std::string report_;
    std::string figure_;
    bool (*compare_)(double, double) = nullptr;
    double limit_ = 0;
};

}  // namespace ovk
