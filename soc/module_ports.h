// SPDX-License-Identifier: GPL-2.0-only
// The ports that the tree gives a bus master.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "devicetree/flat_tree.h"

namespace soc {

struct block_port {
    std::uint32_t block;
    std::uint32_t port;
    auto operator<=>(const block_port &) const = default;
};

struct module_ports {
    std::vector<block_port> larb;
    std::vector<block_port> common_input;
};

// The first module of that name; null if there is none.
const devicetree::node *find_module(const devicetree::flat_tree &tree, const std::string &name);

// The ports of its groups, at whatever depth these are; none of a null module.
module_ports ports_of_module(const devicetree::node *module);

}  // namespace soc
