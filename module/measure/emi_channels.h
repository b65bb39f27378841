// SPDX-License-Identifier: GPL-2.0-only
// The EMI channels' register windows, and broadcast mode. Whoever uses them holds the EMI lock.
#pragma once

#include "base/register_window.h"
#include "platform/kernel.h"
#include "registers/emi.h"

// Channels 0 to emi_cnt - 1, as far as they have been mapped.
struct emi_channels {
    register_window base[emi_channels_max];
};

// Maps the channels. 0, or -ENXIO when one can't be had (which has been logged) or there are more
// than three.
int emi_set_base(emi_channels &channels);

// While it is on, a write through channel 0's window reaches every channel. It is a mode of the
// whole chip. Without a dispatch block it only logs, and writes go on reaching channel 0 alone.
void enable_broadcast_mode(bool on);
