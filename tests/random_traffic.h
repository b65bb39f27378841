// SPDX-License-Identifier: GPL-2.0-only
// Traffic drawn by lot, the same for the same seed.
#pragma once

#include <random>

#include "tests/oracle.h"

namespace tests {

class random_traffic {
  public:
    explicit random_traffic(unsigned seed) : engine_(seed) {}

    std::uint32_t up_to(std::uint32_t max) {
        return static_cast<std::uint32_t>(engine_() % (max + 1));
    }

    // Many sources or few, on any paths.
    soc::scenario scenario(const devicetree::flat_tree &tree) {
        const std::uint32_t fifths = 1 + up_to(3);
        soc::scenario traffic;

        for (const auto &[name, sources] : sources_by_module(tree)) {
            for (soc::source source : sources) {
                if (up_to(4) < fifths) {
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

  private:
    // A trickle below the resolution of the counters, or a real stream.
    soc::flow flow() {
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
    std::mt19937 engine_;
};

}  // namespace tests
