// SPDX-License-Identifier: GPL-2.0-only
// The terminal, as long as it is ours.
#pragma once

#include <memory>

#include "ovk/top/layout.h"

namespace ovk::top {

class terminal {
  public:
    // Takes it over. Throws failure(usage) when nothing is known about a terminal of its kind.
    terminal();
    // Leaves it as it was.
    ~terminal();
    terminal(const terminal &) = delete;
    terminal &operator=(const terminal &) = delete;

    extent size() const;
    glyphs drawn_with() const;
    void draw(const canvas &what);
    // Draws everything the next time: somebody else may have written there.
    void forget();

    // The next key that has been pressed, or key_none.
    int next_key();
    // Readable when there may be one.
    int descriptor() const;
    // Nobody is there any more.
    bool is_gone() const;

  private:
    struct screen;
    std::unique_ptr<screen> screen_;
};

}  // namespace ovk::top
