// SPDX-License-Identifier: GPL-2.0-only
// What a recording holds, as figures: its reports, and what was done to the device between them.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "ovk/report/report.h"
#include "ovk/source/recording.h"

namespace ovk {

// A mark that somebody made, or a setting that was written.
struct recorded_event {
    std::int64_t time_ns = 0;
    bool is_mark = false;
    std::string text = {};
};

class replay {
  public:
    // Throws failure(unreachable) for what is no recording.
    explicit replay(const std::string &file) : recorded_(file) {}

    const recording_header &header() const { return recorded_.header(); }

    // The next report or event; nothing at the end. Reads that brought no report, as they failed,
    // and selections of what to read next are passed over. Throws failure(unreachable) for a
    // damaged line.
    std::optional<std::variant<any_report, recorded_event>> next();

    // Reads of reports that failed, up to there.
    std::size_t failed_reads() const { return failed_reads_; }

  private:
    total_report complete_total(total_report report);

    recording_reader recorded_;
    std::size_t failed_reads_ = 0;
};

// An operation's report; nothing for what is none.
std::optional<any_report> parse_operation(const operation &done);

}  // namespace ovk
