// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/command/context.h"

namespace ovk {

std::unique_ptr<source> context::open() const {
    return open_source(source_name.empty() ? "sysfs" : source_name);
}

}  // namespace ovk
