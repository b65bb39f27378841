// SPDX-License-Identifier: GPL-2.0-only
#include "lab/tests/chips.h"

#include "tests/oracle.h"

namespace lab {

static constexpr std::uint32_t first_row_register = 0x0c;
static constexpr std::uint32_t row_words = 8;

void PrintTo(const chip_facts &chip, std::ostream *out) {
    *out << chip.soc;
}

const std::vector<chip_facts> &chips() {
    static const std::vector<chip_facts> table = {
        {"zt410", 4266, {0x200a, 0x402d, 0x5446, 0x5654, 0x5656, 0x5656, 0x5656, 0x5656}},
        {"zt420", 2666, {0x1a0d, 0x3125, 0x4136, 0x4a40, 0x4e46, 0x5049, 0x514b, 0x554c}},
        {"zt430", 3200, {0x1d0e, 0x3428, 0x453a, 0x4f45, 0x544c, 0x554f, 0x564f, 0x5650}},
        {"zt440", 3200, {0x1e0f, 0x382a, 0x4b3e, 0x544a, 0x564d, 0x5750, 0x5851, 0x5a52}},
    };
    return table;
}

std::vector<const devicetree::node *> monitors_of(const devicetree::flat_tree &tree) {
    std::vector<const devicetree::node *> result;
    for (const auto &node : tree.nodes()) {
        if (node->string("compatible").value_or("").ends_with("-effi-mon") && node->available()) {
            result.push_back(node.get());
        }
    }
    return result;
}

std::vector<std::uint32_t> row_of(const soc::register_file &registers,
                                  const devicetree::node &monitor) {
    std::vector<std::uint32_t> row;
    for (std::uint32_t word = 0; word < row_words; ++word) {
        row.push_back(registers.get32(monitor.reg.at(0).start + first_row_register + 4 * word));
    }
    return row;
}

void erase_row(soc::register_file &registers, const devicetree::node &monitor) {
    for (std::uint32_t word = 0; word < row_words; ++word) {
        registers.set32(monitor.reg.at(0).start + first_row_register + 4 * word, 0);
    }
}

std::string enable_all(const devicetree::flat_tree &tree, std::uint32_t time_ms) {
    std::string commands;
    for (std::size_t id = 0; id < tests::sources_by_module(tree).size(); ++id) {
        commands +=
            "echo " + std::to_string(id) + " 1 " + std::to_string(time_ms) + " 0 >bw_total\n";
    }
    return commands;
}

}  // namespace lab
