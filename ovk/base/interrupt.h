// SPDX-License-Identifier: GPL-2.0-only
// Ctrl-C and its like: what waits or works in rounds ends at its next chance, so that settings are
// put back and files are whole. A second one ends the program at once. All threads are meant.
#pragma once

#include <chrono>

namespace ovk {

// From now on SIGINT, SIGTERM and SIGHUP are kept for the functions below.
void watch_for_interrupts();

// As if one came. May be called by the handler of a signal.
void interrupt();

// Throws failure(interrupted) when one came.
void throw_if_interrupted();

// While one of these is there, an interrupt that came is kept for later: what was moved can be put
// back.
class held_interrupts {
  public:
    held_interrupts();
    ~held_interrupts();
    held_interrupts(const held_interrupts &) = delete;
    held_interrupts &operator=(const held_interrupts &) = delete;
};

// Waits until the descriptor has something to read, or its other end is closed; false: the time is
// over. A descriptor of -1 never has. Throws failure(interrupted) as soon as one comes.
using milliseconds = std::chrono::milliseconds;
constexpr milliseconds for_ever{-1};
bool wait_for_input(int descriptor, milliseconds limit);

}  // namespace ovk
