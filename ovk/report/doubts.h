// SPDX-License-Identifier: GPL-2.0-only
// What the kernel log has against a report: the module shows 0 for what it could not measure.
#pragma once

#include "ovk/report/figures.h"

namespace ovk {

using kernel_log = std::optional<std::vector<std::string>>;

// Each empties the figures that a message concerns, and names the message as a reason.
void apply_log(total_report &report, const kernel_log &log);
void apply_log(larb_report &report, const kernel_log &log);
void apply_log(scomm_report &report, const kernel_log &log);
void apply_log(emi_report &report, const kernel_log &log);
void apply_log(bus_report &report, const kernel_log &log);

}  // namespace ovk
