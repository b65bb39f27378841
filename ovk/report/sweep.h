// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <optional>
#include <string>

#include "ovk/report/report.h"
#include "ovk/source/source.h"

namespace ovk {

struct sweep {
    const char *attribute;                  // that was read
    int error = 0;                          // the system's errno, when it refused that
    std::optional<any_report> report = {};  // nothing then: many rounds go on
};

// Reads one of the reports that are measured, by its name. Throws failure: unreachable when the
// link broke.
sweep take_sweep(source &from, const std::string &report);

}  // namespace ovk
