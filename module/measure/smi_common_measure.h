// SPDX-License-Identifier: GPL-2.0-only
// The traffic of a module behind an SMI common.
#pragma once

#include "base/register_window.h"
#include "core/module_list.h"
#include "measure/total_result.h"
#include "platform/kernel.h"

// Number of input and output ports of SMI common `id`. 0, or -1 when the node or a property is
// missing; an output is written only when its property was read.
int get_smi_common_port_info(u32 &inputs, u32 &outputs, u32 id);

// Measures every port of the group on its SMI common for `time` ms in each direction, and adds what
// it finds to `result` (bytes per millisecond).
void comm_bw_measure(const register_window &common, const port_group &group, u32 time,
                     total_result &result);
