// SPDX-License-Identifier: GPL-2.0-only
// Traffic of every EMI port on every channel.
#pragma once

#include "core/memory.h"
#include "core/mon_cfg.h"
#include "platform/kernel.h"

// One EMI channel, or all of them together; every array has an entry for each port.
struct emi_result {
    owned_array<u64> data_bw;  // MB/s; of all channels: the sum
    owned_array<u64> latency;  // average, ns; of all channels: the mean, like effi and burst
    owned_array<u32> effi;     // percent
    owned_array<u32> burst;    // average, in the monitor's own unit
    owned_array<u32> arb;      // port arbitration register; arb and the limits per channel only
    owned_array<u32> rd_ostd;  // outstanding limits
    owned_array<u32> wr_ostd;
};

// The EMI channels of one measurement, and a last record for all of them together.
struct emi_results {
    owned_array<emi_result> records;
    bool timed_out;  // the run of a group of ports did not end
};

// Measures all ports, six at a time, for cfg.time ms each; cfg.base must be free. The records of
// `results` are zeros but for the efficiencies that stand where no monitors do. 0, or the code of
// emi_set_base or -EINTR when killed before it began, and then nothing was touched; one that is
// killed later leaves the hardware as a good measurement does. A group of ports whose run does not
// end stays 0. Without EMI channels there is nothing to measure.
s32 emi_measure_wrap(measure_cfg &cfg, emi_results &results);
