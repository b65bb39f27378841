// SPDX-License-Identifier: GPL-2.0-only
#include "base/trace.h"

u32 debug_on;
