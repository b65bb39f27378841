// SPDX-License-Identifier: GPL-2.0-only
#include "soc/blocks/larb.h"

#include <algorithm>

namespace soc {

namespace {

constexpr std::uint32_t force_ultra = 0x78;
constexpr std::uint32_t force_preultra = 0x7c;
constexpr std::uint32_t outstanding_limit = 0x200;
constexpr std::uint32_t outstanding_stride = 4;
constexpr std::uint32_t outstanding_field = 0xff;
constexpr std::uint32_t outstanding_registers = 128;  // more than there are ports
constexpr std::uint32_t port_count = 32;
constexpr std::uint32_t larb_monitor_run = 0x400;
constexpr std::uint32_t larb_monitor_clear = 0x404;
constexpr std::uint32_t monitor_ports = 0x408;
constexpr std::uint32_t monitor_mode = 0x40c;
constexpr std::uint32_t counter = 0x410;
constexpr std::uint32_t counter_stride = 4;
constexpr std::uint32_t larb_longest_period = 0x430;

constexpr std::uint32_t larb_run_bit = 1;
constexpr std::uint32_t larb_clear_bit = 1;

constexpr std::uint32_t mode_period = 0x200;
constexpr std::uint32_t mode_read = 0x204;
constexpr std::uint32_t mode_write = 0x208;
constexpr std::uint32_t mode_four_ports = 0x400;

// The counter that the modes for a single port use.
constexpr std::size_t single_port_counter = 2;

constexpr std::uint64_t parts_per_unit = 16'000;
// 1 MB/s moves a thousandth of a byte in a nanosecond.
constexpr std::uint64_t parts_of_bytes = 16;
constexpr std::uint64_t parts_of_sixteen_bytes = 1;

constexpr unsigned port_field_bits = 8;
constexpr std::uint32_t port_field = 0xff;

std::vector<register_row> registers_of_a_larb() {
    return {
        {force_ultra, word, "force_ultra"},
        {force_preultra, word, "force_preultra"},
        {outstanding_limit, word, "outstanding_limit", outstanding_registers},
        {larb_monitor_run, word, "monitor_run"},
        {larb_monitor_clear, word, "monitor_clear"},
        {monitor_ports, word, "monitor_ports"},
        {monitor_mode, word, "monitor_mode"},
        {counter, word, "counter", 4},
        {larb_longest_period, word, "longest_period"},
    };
}

}  // namespace

larb::larb(const devicetree::node &node, register_file &registers, traffic &passing,
           std::uint32_t number)
    : block(node, registers, registers_of_a_larb()), passing_(passing), number_(number) {}

void larb::stored(std::uint32_t offset, unsigned width) {
    running_ = (read(larb_monitor_run) & larb_run_bit) != 0;
    mode_ = read(monitor_mode);
    ports_ = read(monitor_ports);
    note_run(running_, mode_, ports_);
    if (reaches(offset, width, larb_monitor_clear) && read(larb_monitor_clear) == larb_clear_bit) {
        clear();
    }
    follow_settings(offset, width);
    publish();
}

void larb::follow_settings(std::uint32_t offset, unsigned width) {
    if (reaches(offset, width, force_ultra) || reaches(offset, width, force_preultra)) {
        passing_.force_priorities(number_, read(force_ultra), read(force_preultra));
    }
    for (std::uint32_t port = 0; port < port_count; ++port) {
        const std::uint32_t limit = outstanding_limit + outstanding_stride * port;
        if (reaches(offset, width, limit)) {
            passing_.limit_larb_port({number_, port}, read(limit) & outstanding_field);
        }
    }
}

void larb::publish() {
    for (std::uint32_t k = 0; k < counters; ++k) {
        write(counter + counter_stride * k,
              static_cast<std::uint32_t>(counted_[k] / parts_per_unit));
    }
    write(larb_longest_period, longest_period_);
}

void larb::elapse(nanoseconds from, nanoseconds to) {
    if (!running_) {
        return;
    }
    switch (mode_) {
        case mode_four_ports:
            count_four_ports(to - from);
            break;
        case mode_read:
            count_one_port(direction::read, to - from);
            break;
        case mode_write:
            count_one_port(direction::write, to - from);
            break;
        case mode_period:
            watch_period();
            break;
        default:
            break;
    }
    publish();
}

streams larb::at_port(std::uint32_t port) const {
    return passing_.at_larb_port({number_, port});
}

void larb::count_four_ports(nanoseconds span) {
    for (std::size_t k = 0; k < counters; ++k) {
        const std::uint32_t port = ports_ >> (port_field_bits * k) & port_field;
        counted_[k] += rate(at_port(port), direction::both) * span * parts_of_bytes;
    }
}

void larb::count_one_port(direction wanted, nanoseconds span) {
    counted_[single_port_counter] += rate(at_port(ports_), wanted) * span * parts_of_sixteen_bytes;
}

void larb::watch_period() {
    const std::uint32_t seen = passing_.longest_period(at_port(ports_), direction::both);
    longest_period_ = std::max(longest_period_, seen);
}

void larb::clear() {
    counted_.fill(0);
    longest_period_ = 0;
}

}  // namespace soc
