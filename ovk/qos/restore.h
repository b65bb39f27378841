// SPDX-License-Identifier: GPL-2.0-only
// Puts saved settings back, all of them or none.
#pragma once

#include "ovk/qos/changes.h"
#include "ovk/qos/file.h"

namespace ovk {

// How the device's settings differ from the file's. Throws failure(refused) when the file is of
// another chip and does not fit this one.
struct restore_plan {
    qos_settings before;
    qos_settings wanted;
    unsigned cpu_mode;
    difference found;
};

restore_plan plan_restore(source &where, const qos_file &file, unsigned cpu_mode);

// Throws failure(refused) when the plan has something in it that can't be restored.
void check_plan(const restore_plan &plan);

// Writes, and reads back. When that fails in any way everything is put back as it was; what is
// thrown then is the failure, with what became of it. An interrupt is a failure, too.
void carry_out(source &where, const restore_plan &plan);

}  // namespace ovk
