// SPDX-License-Identifier: GPL-2.0-only
// The reports by the names that people give them, and the attribute that shows each.
#pragma once

namespace ovk {

struct report_kind {
    const char *name;
    const char *attribute;
};

constexpr report_kind report_kinds[] = {
    {"total", "bw_total"}, {"larb", "bw_larb"}, {"scomm", "bw_scomm"},
    {"emi", "bw_emi"},     {"bus", "bw_bus"},   {"fifo", "fifo_status"},
};

}  // namespace ovk
