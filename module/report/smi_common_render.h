// SPDX-License-Identifier: GPL-2.0-only
// Writes the SMI common report from what was measured.
#pragma once

#include "core/report_buffer.h"
#include "report/smi_common_gather.h"

// A table for each SMI common whose outputs carry traffic.
void render_smi_commons(report_page &page, const smi_common_results &results);
