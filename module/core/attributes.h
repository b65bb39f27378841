// SPDX-License-Identifier: GPL-2.0-only
// The sysfs attributes of the driver "ovk-bw".
#pragma once

#include "platform/kernel.h"

// Creates the attributes on the registered driver "ovk-bw", in the order of the table. 0, or the
// code of the first creation that failed, which has been logged. The attributes go away with the
// driver.
int create_sysfs_node();
