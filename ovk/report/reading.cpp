// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/reading.h"

#include "ovk/base/interrupt.h"

namespace ovk {

reading take_reading(source &from, std::string_view attribute) {
    from.log();
    reading taken{from.read(attribute)};
    throw_if_interrupted();
    if (from.has_log()) {
        taken.log = from.log();
    }
    return taken;
}

}  // namespace ovk
