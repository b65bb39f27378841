// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include "ovk/top/canvas.h"
#include "ovk/top/dashboard.h"

namespace ovk::top {

// A text that stays in one line, in one look.
struct piece {
    std::string text;
    style look = style::plain;
};

// What stands above the table; narrow: in fewer words.
std::vector<piece> header_of(const dashboard &shown, std::int64_t now_ns, bool narrow);

// Puts pieces beside each other, or below where there is no more room, in `rows` at most. Returns
// how many rows it took.
int put_pieces(canvas &to, const std::vector<piece> &pieces, int rows);

}  // namespace ovk::top
