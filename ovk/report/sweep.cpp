// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/sweep.h"

#include <algorithm>

#include "ovk/base/failure.h"
#include "ovk/report/replay.h"
#include "ovk/report/report_kinds.h"
#include "ovk/report/take.h"

namespace ovk {

static const char *attribute_of(const std::string &report) {
    return std::find_if(std::begin(report_kinds), std::end(report_kinds),
                        [&](const report_kind &each) { return report == each.name; })
        ->attribute;
}

sweep take_sweep(source &from, const std::string &report) {
    const char *const attribute = attribute_of(report);
    const reading taken = take_reading(from, attribute);

    auto parsed = parse_operation({.attribute = attribute, .came = taken.came, .log = taken.log});
    if (auto *const total = parsed ? std::get_if<total_report>(&*parsed) : nullptr) {
        if (const auto simple = take_simple_view(from, taken, *total)) {
            add_simple_view(*total, parse_total(*simple));
        }
    }
    return {attribute, taken.came.error, std::move(parsed)};
}

}  // namespace ovk
