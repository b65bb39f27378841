// SPDX-License-Identifier: GPL-2.0-only
// Traffic drawn by lot, the same for the same seed.
#pragma once

#include <random>

#include "tests/chip_view.h"
#include "tests/oracle.h"

namespace tests {

class random_traffic {
  public:
    explicit random_traffic(unsigned seed) : engine_(seed) {}

    std::uint32_t up_to(std::uint32_t max) {
        return static_cast<std::uint32_t>(engine_() % (max + 1));
    }

    soc::flow flow() {
        // Idle, a trickle below the resolution of the counters, or a real stream.
        const std::uint32_t most = up_to(3) == 0 ? 3 : 2500;
        return {.read = up_to(most),
                .write = up_to(3) == 0 ? 0 : up_to(most),
                .efficiency = 1 + up_to(99),
                .ultra = up_to(100),
                .preultra = up_to(100),
                .burst = up_to(15),
                .latency = up_to(1000),
                .period = up_to(2000)};
    }

    soc::scenario scenario(const devicetree::flat_tree &tree) {
        soc::scenario traffic;
        for (const auto &[name, sources] : sources_by_module(tree)) {
            for (soc::source source : sources) {
                if (up_to(4) != 0) {
                    source.traffic = flow();
                    traffic.sources.push_back(source);
                }
            }
        }
        for (const auto &node : tree.nodes()) {
            if (node->name.starts_with("smi_common")) {
                traffic.presets.push_back(
                    {node->name, 0x220, static_cast<std::uint32_t>(engine_())});
            }
        }
        return traffic;
    }

    // The limits and priorities that firmware may have set up for every port that is in use.
    void add_settings(const devicetree::flat_tree &tree, soc::scenario &traffic) {
        const auto preset = [&](const std::string &node, std::uint32_t offset) {
            traffic.presets.push_back({node, offset, static_cast<std::uint32_t>(engine_())});
        };
        for (const devicetree::node *module : modules_of(tree)) {
            for (const port_use &use : ports_of(*module)) {
                if (use.larb) {
                    preset(number_of("larb", use.block), 0x200 + 4 * use.port);
                }
            }
        }
        for (const auto &node : tree.nodes()) {
            if (node->name.starts_with("larb")) {
                preset(node->name, 0x78);
                preset(node->name, 0x7c);
            }
        }
        const devicetree::node *emi = tree.by_name("emi_arch");
        for (std::uint32_t channel = 0; channel < *emi->u32("emi_cnt"); channel++) {
            for (std::uint32_t port = 0; port < *emi->u32("emi_port_cnt"); port++) {
                preset(number_of("emi_cen", channel), 0x100 + 8 * port);
            }
            for (const std::uint32_t offset : {0xd0, 0xd4, 0xd8, 0xdc}) {
                preset(number_of("emi_cen", channel), offset);
            }
        }
    }

  private:
    std::mt19937 engine_;
};

}  // namespace tests
