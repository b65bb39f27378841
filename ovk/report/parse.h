// SPDX-License-Identifier: GPL-2.0-only
// The texts of the attributes as records. A line that does not fit its format goes to `unparsed`,
// and what a cut text has lost is empty. What the kernel log has against a report makes the figures
// empty that it concerns.
#pragma once

#include "ovk/report/figures.h"
#include "ovk/report/reading.h"

namespace ovk {

total_report parse_total(const reading &from);  // bw_total, either view
larb_report parse_larb(const reading &from);    // bw_larb
scomm_report parse_scomm(const reading &from);  // bw_scomm
emi_report parse_emi(const reading &from);      // bw_emi, either view
bus_report parse_bus(const reading &from);      // bw_bus
fifo_report parse_fifo(const reading &from);    // fifo_status
ports_report parse_ip_config(const reading &from);
// Adds the list to the report.
void add_larb_modules(ports_report &to, const reading &from);

// Of attributes that show one thing; nothing where the text is another.
struct selected_limit {
    std::uint64_t larb;
    std::uint64_t port;
    std::uint64_t outstanding_limit;
};
std::optional<selected_limit> parse_larb_ostdl(const std::string &text);

struct selected_register {
    std::uint64_t address;
    std::uint64_t value;
};
std::optional<selected_register> parse_reg_op(const std::string &text);

// Adds the ranges; what does not fit goes to `head.unparsed`.
void add_cpu_ranges(limits_report &to, const reading &from);

}  // namespace ovk
