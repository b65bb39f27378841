// SPDX-License-Identifier: GPL-2.0-only
// Selections and views belong to everybody who reads: whoever moves one puts it back.
#pragma once

#include <string>

#include "ovk/source/source.h"

namespace ovk {

class moved_setting {
  public:
    // `original` is what to write to have the attribute as it is now.
    moved_setting(source &where, std::string attribute, std::string original);
    ~moved_setting();  // puts back, and says on the terminal when it can't
    moved_setting(const moved_setting &) = delete;
    moved_setting &operator=(const moved_setting &) = delete;

    // Throws failure(refused) when the system refuses the write.
    void move(const std::string &text);

    // Tries twice. Throws failure(refused), with what to write by hand.
    void put_back();

  private:
    bool write(const std::string &text);

    source &where_;
    std::string attribute_;
    std::string original_;
    bool moved_ = false;
    int error_ = 0;
};

}  // namespace ovk
