// SPDX-License-Identifier: GPL-2.0-only
// The commands, a file each. Each of these functions adds one to the command line; it runs when the
// command line has been understood, and ends with context::status or by throwing failure.
#pragma once

#include <CLI/CLI.hpp>

#include "ovk/command/context.h"

namespace ovk {

void add_read(CLI::App &app, context &shared);
void add_write(CLI::App &app, context &shared);
void add_record(CLI::App &app, context &shared);
void add_report(CLI::App &app, context &shared);
void add_watch(CLI::App &app, context &shared);
void add_plot(CLI::App &app, context &shared);
void add_export(CLI::App &app, context &shared);
void add_qos(CLI::App &app, context &shared);
void add_compare(CLI::App &app, context &shared);
void add_top(CLI::App &app, context &shared);
void add_doctor(CLI::App &app, context &shared);

}  // namespace ovk
