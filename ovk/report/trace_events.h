// SPDX-License-Identifier: GPL-2.0-only
// A recording as trace events, which Perfetto and chrome://tracing open beside an ftrace of the
// same boot.
#pragma once

#include <string>

#include "ovk/report/named_figures.h"

namespace ovk {

// The whole recording: a slice for each sweep, a counter event for each figure that is known, an
// instant for each mark and each setting that was written. Times are us since boot. Throws
// failure(unreachable) for what is no recording.
std::string trace_of(const std::string &recording);

// The lines for the kernel's trace_marker that make the same counters in an ftrace: the process,
// a name, a whole number.
std::vector<std::string> marker_lines(const any_report &report, int process);

}  // namespace ovk
