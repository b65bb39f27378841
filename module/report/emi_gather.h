// SPDX-License-Identifier: GPL-2.0-only
// The EMI measurement that the EMI report and the bus report share.
#pragma once

#include "base/arithmetic.h"
#include "measure/emi_measure.h"
#include "platform/kernel.h"

// Bus bandwidth of a port in MB/s; 0 when its efficiency is not known.
inline u64 emi_bus_bandwidth(const emi_port &port) {
    return bus_bandwidth(port.data_bw, port.effi);
}

// Measures all ports for the EMI report's monitoring time. Without monitors at the EMI ports every
// port counts at 70 %. 0, -ENOMEM, -EINTR when killed, or -1 when the channels can't be had.
int emi_gather(emi_results &results);
