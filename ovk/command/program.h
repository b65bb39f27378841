// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <ostream>

namespace ovk {

// The whole program: parses the command line, carries the command out and returns the exit status.
// What was asked for goes to `out`, everything else to `err`; progress does when that is a
// terminal.
int run_program(int argc, const char *const *argv, std::ostream &out, std::ostream &err,
                bool terminal = false);

}  // namespace ovk
