// SPDX-License-Identifier: GPL-2.0-only
// What one read of an attribute brought, and what the kernel said meanwhile.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ovk/source/source.h"

namespace ovk {

struct reading {
    answer came;
    std::optional<std::vector<std::string>> log = {};  // nothing where it can't be seen
};

// What the kernel said before is left out. Throws failure: unreachable, or interrupted.
reading take_reading(source &from, std::string_view attribute);

}  // namespace ovk
