// SPDX-License-Identifier: GPL-2.0-only
#include "soc/blocks/emi_dispatcher.h"

namespace soc {

namespace {

constexpr std::uint32_t broadcast_enable = 0x100;
constexpr std::uint32_t broadcast_members = 0x104;

// One byte of the members register for each channel from channel 1 on.
constexpr std::uint32_t member_byte_bits = 8;
constexpr std::uint32_t member_bytes = 4;
constexpr std::uint32_t member_bit = 1;

std::vector<register_row> registers_of_the_dispatcher() {
    return {
        {broadcast_enable, word, "broadcast_enable"},
        {broadcast_members, word, "broadcast_members"},
    };
}

}  // namespace

emi_dispatcher::emi_dispatcher(const devicetree::node &node, register_file &registers)
    : block(node, registers, registers_of_the_dispatcher()) {}

bool emi_dispatcher::repeats_on(std::uint32_t channel) const {
    if (enable_ == 0 || channel == 0 || channel > member_bytes) {
        return false;
    }
    return (members_ >> (member_byte_bits * (channel - 1) + member_bit) & 1) != 0;
}

void emi_dispatcher::stored(std::uint32_t, unsigned) {
    enable_ = read(broadcast_enable);
    members_ = read(broadcast_members);
}

}  // namespace soc
