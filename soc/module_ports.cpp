// SPDX-License-Identifier: GPL-2.0-only
#include "soc/module_ports.h"

#include <string_view>

namespace soc {

namespace {

bool is(const devicetree::node &node, std::string_view property, const std::string &wanted) {
    return node.string(property).value_or("") == wanted;
}

void add_group(const devicetree::node &group, std::string_view id, std::vector<block_port> &into) {
    if (const auto block = group.u32(id)) {
        for (const std::uint32_t port : group.u32_array("port-list")) {
            into.push_back({*block, port});
        }
    }
}

void add_groups_below(const devicetree::node &node, module_ports &into) {
    for (const devicetree::node *child : node.children) {
        if (child->available()) {
            add_group(*child, "larb-id", into.larb);
            add_group(*child, "common-id", into.common_input);
            add_groups_below(*child, into);
        }
    }
}

}  // namespace

const devicetree::node *find_module(const devicetree::flat_tree &tree, const std::string &name) {
    for (const auto &node : tree.nodes()) {
        if (is(*node, "device_type", "bw") && is(*node, "module-name", name)) {
            return node.get();
        }
    }
    return nullptr;
}

module_ports ports_of_module(const devicetree::node *module) {
    module_ports result;
    if (module != nullptr) {
        add_groups_below(*module, result);
    }
    return result;
}

}  // namespace soc
