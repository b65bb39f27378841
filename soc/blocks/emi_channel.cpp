// SPDX-License-Identifier: GPL-2.0-only
#include "soc/blocks/emi_channel.h"

#include <algorithm>
#include <limits>

namespace soc {

namespace {

constexpr std::uint32_t monitor_enable = 0x060;
constexpr std::uint32_t outstanding_limits = 0x0d0;
constexpr std::uint32_t arbitration = 0x100;
constexpr std::uint32_t emi_control = 0x400;
constexpr std::uint32_t run_length = 0x404;
constexpr std::uint32_t all_ports_counter = 0x420;
constexpr std::uint32_t latency_sum = 0x500;
constexpr std::uint32_t request_count = 0x540;
constexpr std::uint32_t slot_config = 0xf00;
constexpr std::uint32_t slot_auxiliary = 0xf2c;
constexpr std::uint32_t slot_counter[] = {0x428, 0x458, 0x460, 0x464, 0xf18, 0xf1c};
constexpr std::uint32_t slot_stride = 4;
constexpr std::uint32_t port_stride = 8;

// Set-up of the monitor that changes no count in this model.
constexpr std::uint32_t setup_first = 0x440;
constexpr std::uint32_t setup_second = 0x468;
constexpr std::uint32_t setup_third = 0x4b0;
constexpr std::uint32_t setup_fourth = 0x4e8;
constexpr std::uint32_t setup_fifth = 0x4f8;

constexpr std::uint32_t emi_enable_bit = 1u << 30;
constexpr std::uint32_t start_bit = 1u << 0;
constexpr std::uint32_t emi_done_bit = 1u << 2;
constexpr std::uint32_t slot_enable_bits = 0x7;
constexpr std::uint32_t slot_auxiliary_bits = 0xf0000000;
constexpr unsigned slot_port_shift = 8;

constexpr std::uint32_t bandwidth_field = 0x3f;
// Outstanding limits: a pair of registers, low nibbles and high nibbles, for each four ports of the
// first eight; a byte a port, with reads in its lower nibble.
constexpr std::uint32_t ports_per_pair = 4;
constexpr std::uint32_t pair_stride = 8;
constexpr std::uint32_t high_nibbles = 4;
constexpr unsigned outstanding_port_bits = 8;
constexpr unsigned nibble_bits = 4;
constexpr std::uint32_t nibble = 0xf;
constexpr unsigned read_shift = 0;
constexpr unsigned write_shift = 4;

constexpr std::uint32_t ports_with_latency_sum = 8;
// A slot's configuration has room for no more; a tree that promises more gets this many.
constexpr std::uint32_t most_ports = 24;
constexpr std::uint32_t limits_end = arbitration + port_stride * most_ports;
constexpr std::uint32_t every_port = (1u << most_ports) - 1;

constexpr std::uint64_t emi_thousandths_per_count = std::uint64_t{8} * 1000;
constexpr std::uint64_t thousandths_per_request = std::uint64_t{64} * 1000;
constexpr std::uint64_t widest_sum = std::numeric_limits<std::uint32_t>::max();

std::vector<register_row> registers_of_a_channel(std::uint32_t ports) {
    return {
        {monitor_enable, half_load | word | double_word, "monitor_enable"},
        {outstanding_limits, word, "outstanding_limits", 4},
        {arbitration, word, "arbitration", ports, port_stride},
        {emi_control, half_load | word | double_word, "control"},
        {run_length, word, "run_length"},
        {all_ports_counter, word, "all_ports_counter"},
        {setup_first, word, "setup_first"},
        {setup_second, word, "setup_second"},
        {setup_third, word, "setup_third"},
        {setup_fourth, half_load | word, "setup_fourth"},
        {setup_fifth, word, "setup_fifth"},
        {latency_sum, word, "latency_sum", ports_with_latency_sum, port_stride},
        {request_count, word, "request_count", ports, port_stride},
        {slot_config, half_load | word | double_word, "slot_config"},
        {slot_config + slot_stride, half_load | word, "slot_config", 5},
        {slot_auxiliary, word, "slot_auxiliary", 6},
        {slot_counter[0], word, "slot_counter"},
        {slot_counter[1], word, "slot_counter"},
        {slot_counter[2], word, "slot_counter", 2},
        {slot_counter[4], word, "slot_counter", 2},
    };
}

// Rounded up: a run is over when its last cycle is.
nanoseconds span_of(std::uint64_t cycles, std::uint32_t clock_mhz) {
    return (cycles * ns_per_us + clock_mhz - 1) / clock_mhz;
}

std::uint32_t ports_of(const traffic &passing) {
    return std::min(passing.chip().emi_ports, most_ports);
}

}  // namespace

emi_channel::emi_channel(const devicetree::node &node, register_file &registers, traffic &passing,
                         std::uint32_t number)
    : block(node, registers, registers_of_a_channel(ports_of(passing))),
      passing_(passing),
      number_(number),
      ports_(ports_of(passing)),
      limits_(ports_),
      moved_(ports_),
      results_(ports_) {}

void emi_channel::stored(std::uint32_t offset, unsigned) {
    if (offset >= outstanding_limits && offset < limits_end) {
        follow_limits();
    }
    const bool wanted = (read(emi_control) & start_bit) != 0;
    if (wanted && !started_) {
        start();
    } else if (!wanted && started_) {
        end();
    }
    publish();
}

std::uint32_t emi_channel::outstanding_of(std::uint32_t port, unsigned direction_shift) const {
    const std::uint32_t pair = port / ports_per_pair == 1 ? 1 : 0;
    const std::uint32_t low = outstanding_limits + pair_stride * pair;
    const unsigned shift = outstanding_port_bits * (port % ports_per_pair) + direction_shift;
    return (read(low) >> shift & nibble) | (read(low + high_nibbles) >> shift & nibble)
                                               << nibble_bits;
}

emi_port_limits emi_channel::limits_of(std::uint32_t port) const {
    const std::uint32_t register_owner = port == 1 ? 0 : port;
    return {.bandwidth = read(arbitration + port_stride * register_owner) & bandwidth_field,
            .read_outstanding = outstanding_of(port, read_shift),
            .write_outstanding = outstanding_of(port, write_shift)};
}

void emi_channel::follow_limits() {
    std::vector<emi_port_limits> limits;
    for (std::uint32_t port = 0; port < ports_; ++port) {
        limits.push_back(limits_of(port));
    }
    if (limits != limits_) {
        limits_ = limits;
        passing_.limit_emi_ports(number_, std::move(limits));
    }
}

void emi_channel::start() {
    const std::uint32_t clock = passing_.chip().emi_clock;
    const std::uint32_t cycles = read(run_length);
    started_ = true;
    done_ = false;
    results_ = results(ports_);
    std::fill(moved_.begin(), moved_.end(), 0);
    counting_ = (read(monitor_enable) & emi_enable_bit) != 0;
    for (std::size_t k = 0; k < slots; ++k) {
        slot_ports_[k] = selected_ports(k);
    }
    if (hung_) {
        return;
    }
    if (clock == 0 || cycles == 0) {
        done_ = true;
        return;
    }
    ends_at_ = now() + span_of(cycles, clock);
}

void emi_channel::end() {
    started_ = false;
    done_ = false;
    ends_at_.reset();
}

bool emi_channel::hang() {
    hung_ = true;
    done_ = false;
    ends_at_.reset();
    publish();
    return true;
}

void emi_channel::elapse(nanoseconds from, nanoseconds to) {
    if (!ends_at_) {
        return;
    }
    if (counting_) {
        const nanoseconds span = std::min(to, *ends_at_) - from;
        for (std::uint32_t port = 0; port < ports_; ++port) {
            moved_[port] += passing_.channel_rate(port, number_) * span;
        }
    }
    if (to >= *ends_at_) {
        finish();
        publish();
    }
}

void emi_channel::finish() {
    ends_at_.reset();
    done_ = true;
    for (std::size_t k = 0; k < slots; ++k) {
        results_.slot[k] = counted(slot_ports_[k]);
    }
    results_.all_ports = counted(every_port);
    for (std::uint32_t port = 0; port < ports_; ++port) {
        results_.latency[port] = latency_of(port);
    }
}

std::uint32_t emi_channel::selected_ports(std::size_t slot) const {
    const auto step = slot_stride * static_cast<std::uint32_t>(slot);
    const std::uint32_t config = read(slot_config + step);
    const std::uint32_t auxiliary = read(slot_auxiliary + step);
    const bool counts = (config & slot_enable_bits) == slot_enable_bits &&
                        (auxiliary & slot_auxiliary_bits) == slot_auxiliary_bits;
    return counts ? config >> slot_port_shift : 0;
}

std::uint32_t emi_channel::counted(std::uint32_t port_mask) const {
    std::uint64_t thousandths = 0;
    for (std::uint32_t port = 0; port < ports_; ++port) {
        thousandths += (port_mask >> port & 1) != 0 ? moved_[port] : 0;
    }
    return static_cast<std::uint32_t>(thousandths / emi_thousandths_per_count);
}

emi_channel::port_latency emi_channel::latency_of(std::uint32_t port) const {
    const std::uint64_t ns =
        weighted_mean(passing_.at_emi_port(port), [](const flow &load) { return load.latency; });
    const std::uint64_t cycles = ns * passing_.chip().emi_clock / ns_per_us;
    const std::uint64_t most_requests = cycles == 0 ? widest_sum : widest_sum / cycles;
    const std::uint64_t requests = std::min(moved_[port] / thousandths_per_request, most_requests);
    return {static_cast<std::uint32_t>(requests * cycles), static_cast<std::uint32_t>(requests)};
}

void emi_channel::publish() {
    for (std::size_t k = 0; k < slots; ++k) {
        write(slot_counter[k], results_.slot[k]);
    }
    write(all_ports_counter, results_.all_ports);
    for (std::uint32_t port = 0; port < ports_; ++port) {
        const port_latency &latency = results_.latency[port];
        write(request_count + port_stride * port, latency.requests);
        if (port < ports_with_latency_sum) {
            write(latency_sum + port_stride * port, latency.sum);
        }
    }
    publish_done();
}

// The rest of the control register is the processor's.
void emi_channel::publish_done() {
    const std::uint32_t held = read(emi_control);
    const std::uint32_t shown = done_ ? held | emi_done_bit : held & ~emi_done_bit;
    if (shown != held) {
        write(emi_control, shown);
    }
}

}  // namespace soc
