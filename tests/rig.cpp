// SPDX-License-Identifier: GPL-2.0-only
#include "tests/rig.h"

#include <regex>

namespace tests {

std::string plain(const std::string &text) {
    static const std::regex control("\033\\[[0-9;]*[A-Za-z]");

    return std::regex_replace(text, control, "");
}

}  // namespace tests
