// SPDX-License-Identifier: GPL-2.0-only
// What the oracles know of a chip: where the traffic that was put in passes, by the device tree and
// the firmware's presets, and how a counter counts.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/scenario.h"

namespace tests {

// A port of a larb or an input port of an SMI common that a module uses.
struct port_use {
    bool larb;
    std::uint32_t block;
    std::uint32_t port;
};

std::string number_of(const std::string &prefix, std::uint32_t number);

// In the tree's order.
std::vector<const devicetree::node *> modules_of(const devicetree::flat_tree &tree);
std::vector<port_use> ports_of(const devicetree::node &module);

// Both must outlive the view.
class chip_view {
  public:
    chip_view(const devicetree::flat_tree &tree, const soc::scenario &traffic);

    const devicetree::flat_tree &tree() const { return tree_; }
    const soc::scenario &traffic() const { return traffic_; }
    bool monitors_at_emi() const { return at_emi_; }

    const soc::flow *flow(soc::source_kind kind, std::uint32_t block, std::uint32_t port) const;

    // Whether the path that is selected for an SMI common input has an efficiency monitor.
    bool has_monitor(std::uint32_t common, std::uint32_t input) const;

    // Whether that monitor sees the input's requests: they do not take a path that isn't there.
    bool is_watched(std::uint32_t common, std::uint32_t input) const;

    // The SMI common and its input behind which a larb sits.
    std::pair<std::uint32_t, std::uint32_t> attachment(std::uint32_t larb) const;

    // The output that an SMI common input's path-select bit asks for.
    std::uint32_t path(std::uint32_t common, std::uint32_t input) const;

    // What firmware has set up in a register, or 0.
    std::uint32_t preset(const std::string &node, std::uint32_t offset) const;

    std::uint64_t everything() const;

  private:
    const devicetree::flat_tree &tree_;
    const soc::scenario &traffic_;
    bool at_emi_;
};

// Requests out of 1024 that are at least that share.
std::uint64_t request_count(std::uint32_t percent);

// Bytes per millisecond in MB/s.
std::uint64_t mb(std::uint64_t bytes_per_ms);

// A 32-bit counter of `unit` bytes over the time, times the unit in 32 bits, per millisecond.
std::uint64_t counted(std::uint64_t mb_per_s, std::uint32_t time_ms, std::uint32_t unit);

}  // namespace tests
