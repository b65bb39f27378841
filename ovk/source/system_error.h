// SPDX-License-Identifier: GPL-2.0-only
// What the system says when it refuses an attribute, and what the user can do about it.
#pragma once

#include <string>
#include <string_view>

#include "ovk/base/failure.h"
#include "ovk/source/source.h"

namespace ovk {

// For an operation ("read" or "write") that ended with an errno: names source, attribute, reason
// and a next step. A write that the module forbids is refused, everything else is unreachable.
failure refused_access(source &where, std::string_view attribute, const std::string &operation,
                       int error);

}  // namespace ovk
