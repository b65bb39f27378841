// SPDX-License-Identifier: GPL-2.0-only
// One channel of the external memory interface: its bandwidth and latency monitor, and the limits
// that software sets for its ports.
//
// Bit 0 of the control register starts a run when it changes from 0 to 1, with the settings that
// this channel holds at that moment. All counters are 0 during the run and take their values at its
// end, when the done bit comes up. Clearing bit 0 takes the done bit back; before the end it breaks
// the run off and the counters stay 0. A run without the monitor's enable bit ends as any other
// and counts nothing.
//
// Latency: port p below 8 has a sum of latencies at 0x500 + 8p; every port has a count of requests
// of 64 bytes at 0x540 + 8p. Both arrays would meet from port 8 on, and there the address belongs
// to the request counts: the latency sums of these ports have no register. A pair of sum and count
// stops together before the sum would pass 32 bits, so that sum / count stays the mean.
//
// Limits: a bandwidth limit of n lets a port have n/64 of this channel's peak, which is the DRAM
// bus's divided by the channels. An outstanding limit of n lets it have 16 n MB/s of this channel
// in that direction. 0 is no limit. Ports 0 and 1 share port 0's arbitration register. There
// are outstanding limits for ports 0 to 7; from port 8 on, ports share those of ports 0 to 3. The
// timers are kept and change nothing.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "soc/blocks/block.h"
#include "soc/traffic.h"

namespace soc {

class emi_channel : public block {
  public:
    emi_channel(const devicetree::node &node, register_file &registers, traffic &passing,
                std::uint32_t number);

    std::uint32_t number() const { return number_; }

    void stored(std::uint32_t offset, unsigned width) override;
    void publish() override;
    std::optional<nanoseconds> next_event() const override { return ends_at_; }
    bool hang() override;

  protected:
    void elapse(nanoseconds from, nanoseconds to) override;

  private:
    static constexpr std::size_t slots = 6;

    struct port_latency {
        std::uint32_t sum = 0;  // EMI clock cycles
        std::uint32_t requests = 0;
    };
    struct results {
        explicit results(std::size_t ports) : latency(ports) {}
        std::array<std::uint32_t, slots> slot{};  // units of 8 bytes
        std::uint32_t all_ports = 0;              // units of 8 bytes
        std::vector<port_latency> latency;
    };

    emi_port_limits limits_of(std::uint32_t port) const;
    std::uint32_t outstanding_of(std::uint32_t port, unsigned direction_shift) const;
    void follow_limits();
    void start();
    void end();
    void finish();
    void publish_done();
    std::uint32_t selected_ports(std::size_t slot) const;
    std::uint32_t counted(std::uint32_t port_mask) const;
    port_latency latency_of(std::uint32_t port) const;

    traffic &passing_;
    std::uint32_t number_;
    std::uint32_t ports_;
    std::vector<emi_port_limits> limits_;  // by port
    bool hung_ = false;
    bool started_ = false;   // bit 0 of control
    bool counting_ = false;  // the present run has the monitor enabled
    bool done_ = false;
    std::optional<nanoseconds> ends_at_;
    std::array<std::uint32_t, slots> slot_ports_{};  // of the present run
    std::vector<std::uint64_t> moved_;               // by port, thousandths of a byte
    results results_;
};

}  // namespace soc
