// SPDX-License-Identifier: GPL-2.0-only
#include "debug/debug_log.h"

u32 debug_on;
