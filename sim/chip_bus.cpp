// SPDX-License-Identifier: GPL-2.0-only
#include "sim/chip_bus.h"

#include <stdexcept>

namespace sim {

namespace {

constexpr unsigned bits_per_byte = 8;
constexpr std::uint64_t pin_bytes = 4;
constexpr std::uint64_t ns_per_us = 1000;

void check(std::uint64_t address, unsigned width) {
    const unsigned bytes = width / bits_per_byte;

    if (!soc::register_file::contains(address, bytes)) {
        throw std::runtime_error("an address from 0x1c000000 to 0x1fffffff expected");
    }
    if (address % bytes != 0) {
        throw std::runtime_error("an address aligned to the width expected");
    }
}

}  // namespace

chip_bus::chip_bus(const devicetree::flat_tree &tree) : chip_(tree, registers_) {}

// Pins replace whole 32-bit words; an access of another width sees its part of them.
std::uint64_t chip_bus::with_pins(std::uint64_t address, unsigned width,
                                  std::uint64_t value) const {
    for (unsigned shift = 0; shift < width; shift += bits_per_byte) {
        const std::uint64_t byte = address + shift / bits_per_byte;
        const auto pin = pins_.find(byte - byte % pin_bytes);
        if (pin != pins_.end()) {
            const std::uint64_t pinned =
                (pin->second >> (byte % pin_bytes * bits_per_byte)) & 0xffU;
            value = (value & ~(std::uint64_t{0xff} << shift)) | (pinned << shift);
        }
    }
    return value;
}

std::uint64_t chip_bus::load(std::uint64_t address, unsigned width) {
    const std::lock_guard guard(lock_);

    if (!soc::register_file::contains(address, width / bits_per_byte)) {
        return ~std::uint64_t{0} >> (64 - width);
    }
    const std::uint64_t value = with_pins(address, width, registers_.get(address, width));
    chip_.loaded(address, width);
    return value;
}

void chip_bus::store(std::uint64_t address, unsigned width, std::uint64_t value) {
    const std::lock_guard guard(lock_);

    if (soc::register_file::contains(address, width / bits_per_byte)) {
        registers_.set(address, width, value);
        chip_.stored(address, width);
    }
}

void chip_bus::advance(std::uint64_t now_us) {
    const std::lock_guard guard(lock_);

    chip_.advance(now_us * ns_per_us);
}

std::optional<std::uint64_t> chip_bus::next_event() const {
    const std::lock_guard guard(lock_);
    const std::optional<std::uint64_t> event = chip_.next_event();

    if (!event) {
        return std::nullopt;
    }
    return (*event + ns_per_us - 1) / ns_per_us;
}

void chip_bus::power_lost() {
    const std::lock_guard guard(lock_);

    chip_.power_lost();
}

std::vector<std::string> chip_bus::take_complaints() {
    const std::lock_guard guard(lock_);

    return chip_.take_complaints();
}

std::uint64_t chip_bus::peek(std::uint64_t address, unsigned width) const {
    const std::lock_guard guard(lock_);

    check(address, width);
    return registers_.get(address, width);
}

void chip_bus::poke(std::uint64_t address, unsigned width, std::uint64_t value) {
    const std::lock_guard guard(lock_);

    check(address, width);
    registers_.set(address, width, value);
}

void chip_bus::pin(std::uint64_t address, std::uint32_t value) {
    const std::lock_guard guard(lock_);

    check(address, pin_bytes * bits_per_byte);
    pins_[address] = value;
}

void chip_bus::unpin(std::uint64_t address) {
    const std::lock_guard guard(lock_);

    pins_.erase(address);
}

void chip_bus::unpin_all() {
    const std::lock_guard guard(lock_);

    pins_.clear();
}

bool chip_bus::hang(const std::string &node) {
    const std::lock_guard guard(lock_);

    return chip_.hang(node);
}

void chip_bus::set_scenario(const soc::scenario &traffic) {
    const std::lock_guard guard(lock_);

    chip_.set_scenario(traffic);
}

}  // namespace sim
