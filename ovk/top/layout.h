// SPDX-License-Identifier: GPL-2.0-only
// The dashboard as cells, for a screen of any size: fewer columns where there is less room.
#pragma once

#include "ovk/top/canvas.h"
#include "ovk/top/dashboard.h"

namespace ovk::top {

enum class glyphs { ascii, blocks };

// Tells the dashboard how many lines of its table are to be seen, as keys go by that.
canvas lay_out(dashboard &shown, extent size, glyphs drawn_with, std::int64_t now_ns);

}  // namespace ovk::top
