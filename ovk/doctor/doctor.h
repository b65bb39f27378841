// SPDX-License-Identifier: GPL-2.0-only
// What may be wrong with a device's reports, and what can be done about it.
#pragma once

#include <string>
#include <vector>

#include "ovk/source/source.h"

namespace ovk {

enum class health { good, wrong, unknown };

struct finding {
    health found;
    std::string subject;
    std::string what;
    std::string next = {};  // what to do
};

// Reads every report once, and writes one selection as it is. Throws failure when the source can't
// be reached, or with an interrupt.
std::vector<finding> examine(source &where);

}  // namespace ovk
