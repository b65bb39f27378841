// SPDX-License-Identifier: GPL-2.0-only
// The way of the traffic: from the sources through larbs and SMI commons to the EMI ports, and
// from there to the channels of the memory. Every monitor of the chip asks here what passes it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/scenario.h"

namespace soc {

// What the tree says of the chip as a whole. A number that the tree lacks is 0.
struct layout {
    std::uint32_t smi_clock = 0;  // MHz
    std::uint32_t emi_clock = 0;  // MHz
    std::uint32_t emi_channels = 0;
    std::uint32_t emi_ports = 0;
    bool monitors_at_emi = false;  // the efficiency monitors sit at the EMI ports
};

struct block_port {
    std::uint32_t block;
    std::uint32_t port;
    bool operator==(const block_port &) const = default;
};

// A source that moves data, and where it passes. A master at an SMI common has no larb, one at an
// EMI port has neither larb nor common, and a larb that the tree attaches to nothing has no common.
struct stream {
    flow load;
    std::optional<block_port> larb;
    std::optional<block_port> common_input;
    std::optional<std::uint32_t> emi_port;  // of a source at the EMI itself
};

using streams = std::vector<const stream *>;

enum class direction { read, write, both };

std::uint64_t rate(const flow &load, direction wanted);        // MB/s
std::uint64_t rate(const streams &passing, direction wanted);  // MB/s, all together

// The mean of a number of each stream, weighted with the streams' rates and rounded down; 0 when
// nothing passes.
template <typename number_of>
std::uint64_t weighted_mean(const streams &passing, number_of number) {
    std::uint64_t sum = 0;
    for (const stream *each : passing) {
        sum += rate(each->load, direction::both) * number(each->load);
    }
    const std::uint64_t weight = rate(passing, direction::both);
    return weight == 0 ? 0 : sum / weight;
}

class traffic {
  public:
    explicit traffic(const devicetree::flat_tree &tree);

    const layout &chip() const { return layout_; }

    // New sources in place of the old ones. Throws std::runtime_error, and keeps the old ones, when
    // the chip lacks a source.
    void replace(const std::vector<source> &sources);

    // The path-select register of an SMI common now holds this value.
    void select_paths(std::uint32_t common, std::uint32_t value);

    // The ports that the tree gives an SMI common.
    std::uint32_t inputs_of(std::uint32_t common) const;
    std::uint32_t outputs_of(std::uint32_t common) const;

    // What passes a port now. Sources without traffic are not among it.
    streams at_larb_port(block_port place) const;
    streams at_common_input(block_port place) const;
    streams at_common_output(block_port place) const;
    streams at_emi_port(std::uint32_t port) const;

    // What one channel carries of an EMI port's traffic, in MB/s: an even share in whole MB/s, and
    // one MB/s more on each of the first channels until the remainder is used up.
    std::uint64_t channel_rate(std::uint32_t emi_port, std::uint32_t channel) const;

    // The longest command period in SMI clock cycles, rounded down; 0 when nothing moves in that
    // direction.
    std::uint32_t longest_period(const streams &passing, direction wanted) const;

  private:
    struct common {
        std::uint32_t inputs = 0;
        std::uint32_t outputs = 0;
        std::vector<std::uint32_t> emi_ports;  // of each output path; the last serves the rest
        std::uint32_t paths = 0;               // the path-select register
    };

    void learn_common(std::uint32_t number, const devicetree::node &node);
    void learn_larb(const devicetree::flat_tree &tree, std::uint32_t number,
                    const devicetree::node &node);
    stream route(const source &from) const;
    void add_up_emi_rates();
    std::optional<block_port> common_output_of(const stream &passing) const;
    std::optional<std::uint32_t> emi_port_of(const stream &passing) const;
    template <typename condition>
    streams those(condition wanted) const;

    layout layout_;
    std::map<std::uint32_t, common> commons_;
    std::map<std::uint32_t, std::optional<block_port>> larbs_;  // to the common and its input
    std::vector<stream> streams_;
    std::map<std::uint32_t, std::uint64_t> emi_rates_;  // MB/s by EMI port, as of the last change
};

// N of a node that is named PREFIX and a decimal number without leading zeros.
std::optional<std::uint32_t> block_number(const std::string &node_name, std::string_view prefix);

}  // namespace soc
