// SPDX-License-Identifier: GPL-2.0-only
// The traffic generators' beginning and end; in between they are driven by their attributes.
#pragma once

#include "core/module_list.h"

// Takes the engines out of the module list.
extern const engine_keeper fake_engines;

// Tests that repeat end after the pass that runs, so that unregistering the driver need not wait
// for somebody who switches the loop off.
void end_software_loops();

// Switches off every engine that loops by itself. Only when no handler runs any more.
void stop_hardware_loops();

void release_engines();
