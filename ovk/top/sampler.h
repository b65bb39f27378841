// SPDX-License-Identifier: GPL-2.0-only
// Takes what `ovk top` shows from a source, round after round.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ovk/report/take.h"
#include "ovk/source/recorder.h"

namespace ovk::top {

struct taken_round {
    total_report total = {};
    std::string ports_of = {};  // the module that was asked for, as it was; empty: none
    std::optional<larb_report> ports = {};
    std::string no_ports = {};  // why there are none, though they were asked for
};

struct sampler_state {
    std::optional<std::uint32_t> time_ms = {};  // nothing: nobody here has set it
    std::string recording = {};                 // the file; empty: none
    std::size_t recorded_bytes = 0;
};

// What comes of a round, or of a wish.
struct news {
    std::optional<taken_round> round = {};
    bool failed = false;       // the round was none
    std::string message = {};  // for people
    sampler_state state = {};
};

class sampler {
  public:
    explicit sampler(source &from) : from_(from) {}

    // `since_ns`: how long the last round is over. A source whose time is virtual lets as much go
    // by. Throws failure.
    taken_round take(std::int64_t since_ns);

    // Each returns what to tell. They throw failure.
    std::string set_time(std::uint32_t time_ms);
    std::string start_recording(const std::string &file);
    std::string stop_recording();
    std::string mark(const std::string &text);

    // Rounds have the ports of this module from now on, by its name or id, until there is a reason
    // why they can't be had; empty: they have none.
    void show_ports(const std::string &module) { ports_of_ = module; }

    const sampler_state &state();

  private:
    source &target() { return recorder_ ? static_cast<source &>(*recorder_) : from_; }
    void take_ports(taken_round &to);
    larb_report take_ports_of_module();

    source &from_;
    std::optional<recording_writer> writer_;
    std::optional<recorder> recorder_;
    std::string ports_of_;
    std::optional<larb_selector> selector_;  // for the target that there is
    std::int64_t last_end_ns_ = 0;
    sampler_state state_;
};

}  // namespace ovk::top
