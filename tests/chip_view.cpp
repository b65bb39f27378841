// SPDX-License-Identifier: GPL-2.0-only
#include "tests/chip_view.h"

#include <set>

namespace tests {

using std::uint32_t;
using std::uint64_t;

std::string number_of(const std::string &prefix, uint32_t number) {
    return prefix + std::to_string(number);
}

static void collect_ports(const devicetree::node &group, std::vector<port_use> &uses) {
    const bool larb = group.has("larb-id");

    if (!larb && !group.has("common-id")) {
        for (const devicetree::node *child : group.children) {
            collect_ports(*child, uses);
        }
        return;
    }
    for (const uint32_t port : group.u32_array("port-list")) {
        uses.push_back({larb, *group.u32(larb ? "larb-id" : "common-id"), port});
    }
}

std::vector<port_use> ports_of(const devicetree::node &module) {
    std::vector<port_use> uses;

    for (const devicetree::node *child : module.children) {
        collect_ports(*child, uses);
    }
    return uses;
}

std::vector<const devicetree::node *> modules_of(const devicetree::flat_tree &tree) {
    std::vector<const devicetree::node *> modules;

    for (const auto &node : tree.nodes()) {
        if (node->string("device_type") == "bw") {
            modules.push_back(node.get());
        }
    }
    return modules;
}

chip_view::chip_view(const devicetree::flat_tree &tree, const soc::scenario &traffic)
    : tree_(tree), traffic_(traffic), at_emi_(tree.by_name("emi_arch")->has("emi-effi-monitor")) {}

const soc::flow *chip_view::flow(soc::source_kind kind, uint32_t block, uint32_t port) const {
    for (const soc::source &source : traffic_.sources) {
        if (source.kind == kind && source.port == port &&
            (kind == soc::source_kind::emi_port || source.block == block)) {
            return &source.traffic;
        }
    }
    return nullptr;
}

bool chip_view::has_monitor(uint32_t common, uint32_t input) const {
    using paths = std::set<std::pair<uint32_t, uint32_t>>;
    static const paths behind_commons = {{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}, {3, 0},
                                         {4, 0}, {5, 0}, {5, 1}, {6, 0}, {6, 1}, {7, 0}, {7, 1}};
    static const paths at_emi = {{0, 0}, {0, 1}, {1, 0}, {2, 0}};

    return (at_emi_ ? at_emi : behind_commons).contains({common, path(common, input)});
}

bool chip_view::is_watched(uint32_t common, uint32_t input) const {
    const auto outputs = tree_.by_name(number_of("smi_common", common))->u32("output-port-nr");

    return has_monitor(common, input) && path(common, input) < *outputs;
}

std::pair<uint32_t, uint32_t> chip_view::attachment(uint32_t larb) const {
    const devicetree::node *node = tree_.by_name(number_of("larb", larb));

    return {*tree_.by_phandle(*node->u32("quorix,smi"))->u32("quorix,common-id"),
            *node->u32("quorix,smi-port-id")};
}

uint32_t chip_view::path(uint32_t common, uint32_t input) const {
    return preset(number_of("smi_common", common), 0x220) >> (2 * input) & 1;
}

uint32_t chip_view::preset(const std::string &node, uint32_t offset) const {
    for (const soc::preset &preset : traffic_.presets) {
        if (preset.node == node && preset.offset == offset) {
            return preset.value;
        }
    }
    return 0;
}

uint64_t chip_view::everything() const {
    uint64_t sum = 0;

    for (const soc::source &source : traffic_.sources) {
        sum += source.traffic.read + source.traffic.write;
    }
    return sum;
}

uint64_t request_count(uint32_t percent) {
    return (uint64_t{percent} * 1024 + 99) / 100;
}

uint64_t mb(uint64_t bytes_per_ms) {
    return bytes_per_ms * 1000 / 1000000;
}

uint64_t counted(uint64_t mb_per_s, uint32_t time_ms, uint32_t unit) {
    const uint64_t bytes = mb_per_s * 1000 * time_ms;

    return static_cast<uint32_t>(bytes / unit * unit) / time_ms;
}

}  // namespace tests
