// SPDX-License-Identifier: GPL-2.0-only
// Writes the total report from what was measured.
#pragma once

#include "platform/kernel.h"
#include "report/total_measure.h"

// The table, a bar for every module on the bus, and DRAM figures with a verdict.
void render_total(char *buf, u32 *len, total_results &results);

// A line for every module, and the total.
void render_total_simple(char *buf, u32 *len, total_results &results);
