// SPDX-License-Identifier: GPL-2.0-only
// Writes the EMI report from what was measured.
#pragma once

#include "measure/emi_measure.h"
#include "platform/kernel.h"

// One table for all channels together.
void render_emi_total(char *buf, u32 *len, const emi_result &all);

// A table for each channel, with the ports' arbitration settings.
void render_emi_detail(char *buf, u32 *len, const owned_array<emi_result> &results);
