// SPDX-License-Identifier: GPL-2.0-only
// The module-wide trace switch.
#pragma once

#include "platform/kernel.h"

// Non-zero: the measurements log "[OVK-BW]" lines at alert level.
extern u32 debug_on;
