// SPDX-License-Identifier: GPL-2.0-only
// What a test of the lab knows of the chips.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/register_file.h"

namespace lab {

struct chip_facts {
    const char *soc;
    std::uint32_t dram_clock;  // lowest channel frequency, or the tree's
    std::vector<std::uint32_t> effi_row;
};

void PrintTo(const chip_facts &chip, std::ostream *out);

const std::vector<chip_facts> &chips();

// Monitors of the tree: their nodes, in its order.
std::vector<const devicetree::node *> monitors_of(const devicetree::flat_tree &tree);

// The efficiency configuration that a monitor holds.
std::vector<std::uint32_t> row_of(const soc::register_file &registers,
                                  const devicetree::node &monitor);
void erase_row(soc::register_file &registers, const devicetree::node &monitor);

// Commands that let every module take part in the total report.
std::string enable_all(const devicetree::flat_tree &tree, std::uint32_t time_ms);

}  // namespace lab
