// SPDX-License-Identifier: GPL-2.0-only
// Writes the total report from what was measured.
#pragma once

#include "core/report_buffer.h"
#include "report/total_gather.h"

// The table, a bar for every module on the bus, and DRAM figures with a verdict.
void render_total(report_page &page, total_results &results);

// A line for every module, and the total.
void render_total_simple(report_page &page, total_results &results);
