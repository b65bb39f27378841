// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/terminal_kind.h"

#include <curses.h>
#include <term.h>  // its macros leave few names to others
#include <unistd.h>

#include <cstdlib>

#ifndef OVK_TERMINAL_DESCRIPTION
#error "OVK_TERMINAL_DESCRIPTION: what infocmp -Q2 prints of a vt100"
#endif

namespace ovk::top {

// Opening a terminal that has none would leak what the library prepares for it.
static bool has_description() {
    int reason = 0;
    const bool known = setupterm(nullptr, STDOUT_FILENO, &reason) == OK;

    if (known) {
        del_curterm(cur_term);
    }
    return known;
}

// A device often has no descriptions at all, and nearly all terminals do what a VT100 does.
bool choose_known_kind() {
    if (has_description()) {
        return true;
    }
    if (std::getenv("TERM") == nullptr) {
        return false;
    }
    setenv("TERMINFO", OVK_TERMINAL_DESCRIPTION, 1);
    setenv("TERM", "vt100", 1);
    return has_description();
}

}  // namespace ovk::top
