// SPDX-License-Identifier: GPL-2.0-only
// Platform driver of the efficiency monitors: loads each monitor's configuration when it binds and
// again after every system sleep.
#pragma once

#include "platform/kernel.h"

extern platform_driver ovk_effi_driver;
