// SPDX-License-Identifier: GPL-2.0-only
// The traffic of a module behind a larb.
#pragma once

#include "base/register_window.h"
#include "core/module_list.h"
#include "measure/total_result.h"
#include "platform/kernel.h"

// Measures every port of the group on its larb, four at once for `time` ms each, and adds what it
// finds to `result` (bytes per millisecond). The ports' own entries start at `first`.
void larb_bw_measure(const register_window &larb, const port_group &group, u32 time, u32 first,
                     total_result &result);
