// SPDX-License-Identifier: GPL-2.0-only
// What has to be in order even when the program is killed by a signal that it does not keep.
#pragma once

#include <termios.h>

#include <string>

namespace ovk::top {

// While one of these is there, a signal that ends the program first restores the terminal. What
// moved something is interrupted and given a moment to put it back. Then the signal does what it
// would have done. One at a time.
class crash_guard {
  public:
    // Its settings as they were, and what to send to it before they are restored.
    crash_guard(int terminal, const termios &settings, const std::string &reset);
    ~crash_guard();
    crash_guard(const crash_guard &) = delete;
    crash_guard &operator=(const crash_guard &) = delete;

    // Readable once everything has been put back.
    static void wait_for(int descriptor);
};

}  // namespace ovk::top
