// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/source.h"

#include <chrono>

#include "ovk/base/interrupt.h"

namespace ovk {

void source::wait_until(std::int64_t time_ns) {
    for (std::int64_t left = time_ns - now(); left > 0; left = time_ns - now()) {
        wait_for_input(-1, std::chrono::ceil<milliseconds>(std::chrono::nanoseconds(left)));
    }
}

}  // namespace ovk
