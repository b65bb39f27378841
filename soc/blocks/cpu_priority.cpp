// SPDX-License-Identifier: GPL-2.0-only
#include "soc/blocks/cpu_priority.h"

namespace soc {

namespace {

constexpr std::uint32_t priority_control = 0x18;
// Start low, start high, end low and end high of each of three scopes.
constexpr std::uint32_t ranges = 0x1c;
constexpr std::uint32_t range_registers = 12;

std::vector<register_row> registers_of_the_block() {
    return {
        {priority_control, word | double_word, "control"},
        {ranges, half_load | word_store, "range", range_registers},
    };
}

}  // namespace

cpu_priority::cpu_priority(const devicetree::node &node, register_file &registers)
    : block(node, registers, registers_of_the_block()) {}

}  // namespace soc
