// SPDX-License-Identifier: GPL-2.0-only
// What a test of the lab knows of the chips.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/register_file.h"

namespace lab {

// Monitors of the tree: their nodes, in its order.
std::vector<const devicetree::node *> monitors_of(const devicetree::flat_tree &tree);

// The efficiency configuration that a monitor holds, and what the host kernel gives all of a chip.
std::vector<std::uint32_t> row_of(const soc::register_file &registers,
                                  const devicetree::node &monitor);
std::vector<std::uint32_t> row_on_the_host(const std::string &soc);
void erase_row(soc::register_file &registers, const devicetree::node &monitor);

// Commands that let every module take part in the total report.
std::string enable_all(const devicetree::flat_tree &tree, std::uint32_t time_ms);

}  // namespace lab
