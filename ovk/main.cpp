// SPDX-License-Identifier: GPL-2.0-only
// ovk: the module's reports as data.
#include <unistd.h>

#include <iostream>

#include "ovk/base/interrupt.h"
#include "ovk/command/program.h"

int main(int argc, char **argv) {
    ovk::watch_for_interrupts();
    return ovk::run_program(argc, argv, std::cout, std::cerr, isatty(STDERR_FILENO) != 0);
}
