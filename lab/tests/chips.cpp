// SPDX-License-Identifier: GPL-2.0-only
#include "lab/tests/chips.h"

#include "tests/oracle.h"
#include "tests/rig.h"

namespace lab {

static constexpr std::uint32_t first_row_register = 0x0c;
static constexpr std::uint32_t row_words = 8;

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

std::vector<std::uint32_t> row_on_the_host(const std::string &soc) {
    tests::rig host(soc);
    const devicetree::node &monitor = *monitors_of(host.loaded().machine().tree()).front();
    std::vector<std::uint32_t> row;
    for (std::uint32_t word = 0; word < row_words; ++word) {
        const std::uint64_t address = monitor.reg.at(0).start + first_row_register + 4 * word;
        row.push_back(static_cast<std::uint32_t>(host.chip().peek(address, 32)));
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
    for (std::size_t id = 0; id < tests::modules_of(tree).size(); ++id) {
        commands +=
            "echo " + std::to_string(id) + " 1 " + std::to_string(time_ms) + " 0 >bw_total\n";
    }
    return commands;
}

}  // namespace lab
