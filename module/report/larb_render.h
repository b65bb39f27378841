// SPDX-License-Identifier: GPL-2.0-only
// Writes the larb report from what was measured.
#pragma once

#include "core/report_buffer.h"
#include "report/larb_gather.h"

// A table for each larb, two side by side, and the module's totals. A module without larbs has a
// line that says so.
void render_larbs(report_page &page, const bw_module &module, const larb_stats &stats);
