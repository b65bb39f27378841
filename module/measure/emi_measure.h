// SPDX-License-Identifier: GPL-2.0-only
// Traffic of every EMI port on every channel.
#pragma once

#include "base/memory.h"
#include "platform/kernel.h"

// One port on one channel, or on all channels together.
struct emi_port {
    u64 data_bw;  // MB/s; of all channels: the sum
    u64 latency;  // average, ns; of all channels: the mean, like effi and burst
    u32 effi;     // percent
    u32 burst;    // average, in the monitor's own unit
    u32 arb;      // port arbitration register; arb and the limits per channel only
    u32 rd_ostd;  // outstanding limits
    u32 wr_ostd;
};

// The ports of one channel, or of all of them together.
struct emi_result {
    owned_array<emi_port> ports;
};

// The EMI channels of one measurement, and a last record for all of them together.
struct emi_results {
    owned_array<emi_result> records;
    bool timed_out;  // the run of a group of ports did not end
};

// Measures all ports, six at a time, for `time` ms each. The records of `results` are zeros but for
// the efficiencies that stand where no monitors do. 0, or the code of emi_set_base or -EINTR when
// killed before it began, and then nothing was touched; one that is killed later leaves the
// hardware as a good measurement does. A group of ports whose run does not end stays 0. Without EMI
// channels there is nothing to measure.
int emi_measure_wrap(u32 time, emi_results &results);
