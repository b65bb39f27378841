// SPDX-License-Identifier: GPL-2.0-only
// Writes the EMI report from what was measured.
#pragma once

#include "core/report_buffer.h"
#include "measure/emi_measure.h"

// One table for all channels together.
void render_emi_total(report_page &page, const emi_result &all);

// A table for each channel, with the ports' arbitration settings.
void render_emi_detail(report_page &page, const owned_array<emi_result> &records);
