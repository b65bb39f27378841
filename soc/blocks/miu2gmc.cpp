// SPDX-License-Identifier: GPL-2.0-only
#include "soc/blocks/miu2gmc.h"

#include <utility>

namespace soc {

namespace {

constexpr std::uint32_t generator_control = 0x00;
constexpr std::uint32_t start_address = 0x04;
constexpr std::uint32_t length_low = 0x0c;
constexpr std::uint32_t length_high = 0x10;
constexpr std::uint32_t pattern = 0x14;
constexpr std::uint32_t reset = 0x18;
constexpr std::uint32_t loop_gen1 = 0x1c;
constexpr std::uint32_t loop_gen2 = 0x20;
constexpr std::uint32_t port_mask = 0x40;
constexpr std::uint32_t stuck_bits = 0x80;  // the model's alone

constexpr std::uint32_t idle = 0;
constexpr std::uint32_t read_command = 0x108;
constexpr std::uint32_t write_command = 0x208;
constexpr std::uint32_t both_command = 0x008;
constexpr std::uint32_t go_bit = 1u << 0;
constexpr std::uint32_t error_bit = 1u << 13;
constexpr std::uint32_t generator_done_bit = 1u << 15;
constexpr std::uint32_t loop_bit = 1u << 4;

constexpr std::uint32_t half = 0xffff;
constexpr unsigned half_bits = 16;
constexpr std::uint64_t thousandths_per_unit = 16'000;
constexpr std::uint32_t full_rate = 1600;  // MB/s

std::vector<register_row> registers_of_a_miu2gmc() {
    return {
        {generator_control, word, "control"},
        {start_address, word, "start_address", 2},
        {length_low, word, "length", 2},
        {pattern, word, "pattern"},
        {reset, word, "reset"},
        {loop_gen1, word, "loop", 2},
        {port_mask, word, "port_mask"},
        {stuck_bits, word, "stuck_bits"},
    };
}

bool opens_a_pair(std::uint32_t value) {
    return value == read_command || value == write_command || value == both_command;
}

flow load_of(std::uint32_t first_of_pair) {
    flow load;
    const std::uint32_t rate = first_of_pair == both_command ? full_rate / 2 : full_rate;
    load.read = first_of_pair == write_command ? 0 : rate;
    load.write = first_of_pair == read_command ? 0 : rate;
    return load;
}

}  // namespace

miu2gmc::miu2gmc(const devicetree::node &node, register_file &registers, traffic &passing,
                 std::uint32_t number)
    : block(node, registers, registers_of_a_miu2gmc()), passing_(passing), number_(number) {}

std::uint32_t miu2gmc::loop_register() const {
    return passing_.chip().generator_loop_gen1 ? loop_gen1 : loop_gen2;
}

void miu2gmc::stored(std::uint32_t offset, unsigned width) {
    if (reaches(offset, width, loop_register())) {
        loops_ = (read(loop_register()) & loop_bit) != 0;
    }
    if (reaches(offset, width, port_mask)) {
        passing_.mask_ports(number_, read(port_mask));
    }
    if (reaches(offset, width, generator_control)) {
        command(read(generator_control));
    }
    publish();
}

void miu2gmc::command(std::uint32_t value) {
    const std::uint32_t before = std::exchange(before_, value);
    if (value == idle) {
        stop();
    } else if (opens_a_pair(before) && value == (before | go_bit)) {
        start(before);
    }
}

void miu2gmc::start(std::uint32_t first_of_pair) {
    const std::uint64_t units = (read(length_high) & half) << half_bits | (read(length_low) & half);
    const std::uint64_t times = first_of_pair == both_command ? 2 : 1;
    stop();
    running_ = pass{.length = units * times * thousandths_per_unit,
                    .fails = (read(pattern) & read(stuck_bits) & half) != 0};
    passing_.run_generator(number_, load_of(first_of_pair));
    if (units == 0 && !hung_) {
        finish();
    }
}

void miu2gmc::finish() {
    const bool fails = running_->fails;
    stop();
    done_ = true;
    failed_ = fails;
}

void miu2gmc::stop() {
    running_.reset();
    passing_.stop_generator(number_);
    moved_ = 0;
    done_ = false;
    failed_ = false;
}

void miu2gmc::elapse(nanoseconds from, nanoseconds to) {
    if (!running_) {
        return;
    }
    moved_ += passing_.rate_of_generator(number_) * (to - from);
    if (hung_ || moved_ < running_->length) {
        return;
    }
    if (loops_) {
        moved_ %= running_->length;
        return;
    }
    finish();
    publish();
}

// The end of a pass that another one follows is none: nothing changes then.
std::optional<nanoseconds> miu2gmc::next_event() const {
    const std::uint64_t rate = running_ ? passing_.rate_of_generator(number_) : 0;
    if (rate == 0 || hung_ || loops_) {
        return std::nullopt;
    }
    return now() + (running_->length - moved_ + rate - 1) / rate;
}

bool miu2gmc::hang() {
    hung_ = true;
    done_ = false;
    failed_ = false;
    publish();
    return true;
}

// The rest of the control register is the processor's.
void miu2gmc::publish() {
    const std::uint32_t held = read(generator_control);
    const std::uint32_t status = (done_ ? generator_done_bit : 0) | (failed_ ? error_bit : 0);
    const std::uint32_t shown = (held & ~(generator_done_bit | error_bit)) | status;
    if (shown != held) {
        write(generator_control, shown);
    }
}

}  // namespace soc
