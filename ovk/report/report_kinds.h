// SPDX-License-Identifier: GPL-2.0-only
// The reports that are measured, by the names that people give them: the attribute that shows each,
// and how it is read.
#pragma once

#include "ovk/report/parse.h"
#include "ovk/report/report.h"

namespace ovk {

template <class report, report (*parse)(const reading &)>
any_report parse_as(const reading &from) {
    return parse(from);
}

struct report_kind {
    const char *name;
    const char *attribute;
    any_report (*parse)(const reading &);
};

constexpr report_kind report_kinds[] = {
    {"total", "bw_total", parse_as<total_report, parse_total>},
    {"larb", "bw_larb", parse_as<larb_report, parse_larb>},
    {"scomm", "bw_scomm", parse_as<scomm_report, parse_scomm>},
    {"emi", "bw_emi", parse_as<emi_report, parse_emi>},
    {"bus", "bw_bus", parse_as<bus_report, parse_bus>},
    {"fifo", "fifo_status", parse_as<fifo_report, parse_fifo>},
};

}  // namespace ovk
