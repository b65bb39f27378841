// SPDX-License-Identifier: GPL-2.0-only
// The end of the traffic generators, before and after the attributes go.
#pragma once

// Tests that repeat end after the pass that runs, so that unregistering the driver need not wait
// for somebody who switches the loop off.
void end_software_loops();

// Switches off every engine that loops by itself. Only when no handler runs any more.
void stop_hardware_loops();
