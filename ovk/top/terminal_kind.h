// SPDX-License-Identifier: GPL-2.0-only
#pragma once

namespace ovk::top {

// True where the terminal's kind, which TERM names, has a description. One that has none on this
// system is called a VT100 in TERM first, with a description in TERMINFO; to be asked before the
// terminal is opened.
bool choose_known_kind();

}  // namespace ovk::top
