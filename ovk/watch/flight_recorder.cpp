// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/watch/flight_recorder.h"

namespace ovk {

void flight_recorder::begin_sweep() {
    kept_.emplace_back();
    if (kept_.size() > sweeps_) {
        kept_.pop_front();
    }
}

void flight_recorder::save(const std::string &file, const recording_header &header) const {
    recording_writer to(file, header);

    for (const std::vector<operation> &sweep : kept_) {
        for (const operation &each : sweep) {
            to.add(each);
        }
    }
}

}  // namespace ovk
