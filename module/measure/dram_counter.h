// SPDX-License-Identifier: GPL-2.0-only
// The DRAM controller's own counters, for masters that reach it without an SMI common.
#pragma once

#include "measure/emi_monitor.h"
#include "platform/kernel.h"

// Counts for `time` ms on all EMI channels. Returns bytes per millisecond, 0 when the channels
// can't be had or the run did not end (either has been logged), or when killed.
u64 dram_counter_measure(dram_traffic traffic, u32 time);
