// SPDX-License-Identifier: GPL-2.0-only
// The DRAM controller's own counters, for masters that reach it without an SMI common.
#pragma once

#include "core/mon_cfg.h"
#include "platform/kernel.h"

// Which of the controller's traffic is counted.
enum class dram_traffic { cpu, gpu, all };

// Counts for cfg.time ms on all EMI channels; cfg.base must be free. Returns bytes per millisecond,
// 0 when the channels can't be had or the run did not end (either has been logged), or when killed.
u64 dram_counter_measure(measure_cfg &cfg, dram_traffic traffic);
