// SPDX-License-Identifier: GPL-2.0-only
// Any report, by the name that the user gives it.
#pragma once

#include <string_view>
#include <variant>

#include "ovk/report/figures.h"

namespace ovk {

using any_report = std::variant<total_report, larb_report, scomm_report, emi_report, bus_report,
                                fifo_report, ports_report, limits_report>;

// In the order of the variant.
constexpr const char *report_names[] = {"total", "larb", "scomm", "emi",
                                        "bus",   "fifo", "ports", "limits"};
static_assert(std::size(report_names) == std::variant_size_v<any_report>);

inline const char *name_of(const any_report &report) {
    return report_names[report.index()];
}

inline const report_head &head_of(const any_report &report) {
    return std::visit([](const auto &each) -> const report_head & { return each.head; }, report);
}

}  // namespace ovk
