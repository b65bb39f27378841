// SPDX-License-Identifier: GPL-2.0-only
// Reports for `ovk top` that a test makes up.
#pragma once

#include "ovk/top/dashboard.h"

namespace ovk::tests {

constexpr std::int64_t s = 1'000'000'000;  // ns

inline module_figures module_of(const std::string &name, figure id, figure bus,
                                figure efficiency = 80) {
    return {.id = id,
            .name = name,
            .data_mbps = bus,
            .efficiency_percent = efficiency,
            .bus_mbps = bus,
            .ultra_percent = 7,
            .preultra_percent = 12};
}

// A sweep of 300 ms on a memory of 12800 MB/s.
inline total_report report_of(const std::vector<module_figures> &modules) {
    total_report report;
    report.head.end_ns = 300'000'000;
    report.modules = modules;
    report.sum = {.efficiency_percent = 70, .bus_mbps = 6400};
    report.usage = {12800, 6400, 50, 6400, 50};
    report.status = "SAFE";
    return report;
}

inline top::news sweep_of(const std::vector<module_figures> &modules) {
    return {.round = top::taken_round{.total = report_of(modules)}};
}

inline top::news failed_sweep() {
    return {.failed = true, .message = "the link broke"};
}

}  // namespace ovk::tests
