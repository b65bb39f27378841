// SPDX-License-Identifier: GPL-2.0-only
// What stands between the header and the last line, a function for each page.
#pragma once

#include "ovk/top/layout.h"

namespace ovk::top {

// Rows of a canvas from `top` on, without `bottom`.
struct band {
    int top;
    int bottom;
};

void put_modules(canvas &to, dashboard &shown, band where, glyphs drawn_with);
void put_ports(canvas &to, dashboard &shown, band where);
void put_help(canvas &to, band where);

}  // namespace ovk::top
