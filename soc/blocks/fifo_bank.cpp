// SPDX-License-Identifier: GPL-2.0-only
#include "soc/blocks/fifo_bank.h"

#include <utility>

namespace soc {

namespace {

constexpr std::uint32_t thresholds = 0x54;
constexpr std::uint32_t urgent_threshold = 0x58;
constexpr std::uint32_t restart = 0x100;
constexpr std::uint32_t fifo_status = 0x140;
constexpr std::uint32_t enable = 0x1c0;
constexpr std::uint32_t not_done = 0x1c8;

constexpr std::uint32_t fifo_enable_bit = 1u << 0;
constexpr std::uint32_t not_done_bit = 1u << 2;

// A bank of 512 bytes for each address of the register bus.
constexpr unsigned bank_shift = 9;
constexpr std::uint64_t bank_bytes = std::uint64_t{1} << bank_shift;

std::vector<register_row> registers_of_a_bank() {
    return {
        {thresholds, word, "thresholds"},
        {urgent_threshold, word, "urgent_threshold"},
        {restart, half_load | word_store, "restart"},
        {fifo_status, word, "status"},
        {enable, half_load | word_store, "enable"},
        {not_done, word, "not_done"},
    };
}

}  // namespace

std::optional<devicetree::range> fifo_bank_window(const devicetree::node &node) {
    const auto bank = node.u32("riu-base");
    if (!bank || node.string("device_type") != "fifo") {
        return std::nullopt;
    }
    const std::uint64_t start = register_file::first + (std::uint64_t{*bank} << bank_shift);
    if (!register_file::contains(start, bank_bytes)) {
        return std::nullopt;
    }
    return devicetree::range{start, bank_bytes};
}

fifo_bank::fifo_bank(const devicetree::node &node, const devicetree::range &window,
                     register_file &registers, const traffic &passing, module_ports ports)
    : block(node.name, window, registers, registers_of_a_bank()),
      passing_(passing),
      ports_(std::move(ports)) {}

void fifo_bank::stored(std::uint32_t offset, unsigned width) {
    if (reaches(offset, width, enable)) {
        enabled_ = (read(enable) & fifo_enable_bit) != 0;
    }
    publish();
}

void fifo_bank::publish() {
    const auto missing =
        enabled_ ? static_cast<std::uint32_t>(passing_.held_back(ports_)) : std::uint32_t{0};
    if (missing == shown_) {
        return;
    }
    shown_ = missing;
    write(fifo_status, missing);
    write(not_done, missing != 0 ? not_done_bit : 0);
}

}  // namespace soc
