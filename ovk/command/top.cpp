// SPDX-License-Identifier: GPL-2.0-only
// ovk top: who uses the memory, now.
#include "ovk/top/run.h"

#include <unistd.h>

#include <iostream>

#include "ovk/command/commands.h"
#include "ovk/command/numbers.h"

namespace ovk {

// Somebody looks, and can press keys.
static bool is_watched(const context &shared) {
    return shared.out.rdbuf() == std::cout.rdbuf() && isatty(STDOUT_FILENO) != 0 &&
           isatty(STDIN_FILENO) != 0;
}

static void run_top(context &shared, const top::options &how) {
    const auto from = shared.open();

    if (is_watched(shared)) {
        top::look_live(*from, how);
    } else {
        top::print_lines(*from, how, shared.out);
    }
}

void add_top(CLI::App &app, context &shared) {
    const auto how = std::make_shared<top::options>();
    CLI::App *command = app.add_subcommand(
        "top", "Show who uses the memory, sweep after sweep; as lines when piped");

    command->add_option("--every", how->every_ns, "From one sweep to the next (default 1s)")
        ->transform(duration())
        ->check(up_to_a_year());
    command->add_option("--count", how->count, "How many sweeps (default: until q or Ctrl-C)")
        ->check(positive<std::uint64_t>());
    command->add_option("--time", how->time_ms, "Measuring time in ms; it stays set")
        ->check(positive<std::uint32_t>());
    command->callback([&shared, how] { run_top(shared, *how); });
}

}  // namespace ovk
