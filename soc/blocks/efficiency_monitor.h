// SPDX-License-Identifier: GPL-2.0-only
// An efficiency monitor: looks at a span of 1024 requests on one path towards the memory.
//
// A run starts when the run bit of control changes from 0 to 1 while the arm bit is set. It looks
// at the requests that the selection lets through and is done after 800 us, also when there were no
// requests; all four results are 0 then. The result register shows the one that the result selector
// picks, at once after each change of the selector. Clearing the run bit during a run breaks it off
// without results; clearing it later leaves the results where they are. Setting the reset bit
// clears results and status, ends a run and keeps another from starting. So a monitor that has been
// reset, and has not been started since, reads 0 and is not done however long one waits, and a
// reader that resets it after each read finds that from the second read on.
//
// A monitor whose configuration words are all 0 has not been set up: it runs and finds nothing.
#pragma once

#include <cstdint>

#include "soc/blocks/block.h"
#include "soc/traffic.h"

namespace soc {

// What a span of requests looks like.
struct span_results {
    std::uint32_t burst = 0;
    std::uint32_t efficiency = 0;  // percent
    std::uint32_t ultra = 0;       // requests out of 1024
    std::uint32_t preultra = 0;    // requests out of 1024
};

// The results for all these streams together.
//
// Efficiency is data over bus time. A stream of d MB/s with efficiency e takes a bus time of
// d * 100 / e MB/s; each is kept in millionths of a MB/s, rounded down, and the quotient of the
// sums, in percent, is rounded down. The rounding is too small to move a single stream's number.
//
// A priority share of s percent is the smallest count out of 1024 that is at least s percent.
// Counts and burst are means of the streams' numbers, weighted with MB/s and rounded down.
span_results measure(const streams &passing);

class efficiency_monitor : public block {
  public:
    efficiency_monitor(const devicetree::node &node, register_file &registers,
                       const traffic &passing, std::uint32_t number);

    void stored(std::uint32_t offset, unsigned width) override;
    void publish() override;
    std::optional<nanoseconds> next_event() const override { return ends_at_; }
    bool hang() override;
    void power_lost() override;

  protected:
    void elapse(nanoseconds from, nanoseconds to) override;

  private:
    // Which requests a run looks at.
    struct selection {
        std::uint32_t value = 0;
        std::uint32_t mask = 0;
        bool lets_through(const stream &passing) const;
    };

    void follow_control(std::uint32_t control);
    void start();
    void forget();
    void finish();
    bool configured() const;
    streams on_path() const;
    streams selected() const;

    const traffic &passing_;
    std::uint32_t number_;
    bool hung_ = false;
    std::uint32_t control_ = 0;
    selection selection_;  // of the present run
    std::optional<nanoseconds> ends_at_;
    bool done_ = false;
    span_results results_;
};

}  // namespace soc
