// SPDX-License-Identifier: GPL-2.0-only
// The way of the traffic: from the sources through larbs and SMI commons to the EMI ports, and
// from there to the channels of the memory. Every monitor of the chip asks here what passes it.
//
// Settings act in this order: a mask silences a larb port, an outstanding limit slows a larb port
// down, forced priorities change what its requests look like, and the limits of an EMI port slow
// that port down on one channel. Data that can't move on are not asked for in the first place, so a
// port that is slowed down is slow all the way from the source to the memory. The sources at it
// give way in proportion, each direction for itself, in whole MB/s whose sum is exact.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/limits.h"
#include "soc/module_ports.h"
#include "soc/scenario.h"

namespace soc {

// What the tree says of the chip as a whole. A number that the tree lacks is 0.
struct layout {
    std::uint32_t smi_clock = 0;  // MHz
    std::uint32_t emi_clock = 0;  // MHz
    std::uint32_t emi_channels = 0;
    std::uint32_t emi_ports = 0;
    std::uint64_t channel_peak = 0;  // MB/s
    bool monitors_at_emi = false;    // the efficiency monitors sit at the EMI ports
    bool generator_loop_gen1 = false;
};

// A source that moves data, and where it passes. A master at an SMI common has no larb, one at an
// EMI port has neither larb nor common, and a larb that the tree attaches to nothing has no common.
struct stream {
    flow load;                 // what moves
    std::uint64_t wanted = 0;  // MB/s that would move without limits and masks
    std::optional<block_port> larb;
    std::optional<block_port> common_input;
    std::optional<std::uint32_t> emi_port;   // of a source at the EMI itself
    std::optional<std::uint32_t> generator;  // the source is this MIU2GMC's traffic generator
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

    // Settings of a larb: transactions that a port may have under way (0: any number), and the
    // ports, a bit each, that are forced to a priority or masked. Ultra wins over pre-ultra.
    void limit_larb_port(block_port place, std::uint32_t outstanding);
    void force_priorities(std::uint32_t larb, std::uint32_t ultra, std::uint32_t preultra);
    void mask_ports(std::uint32_t larb, std::uint32_t ports);

    // What a channel allows its ports, by port.
    void limit_emi_ports(std::uint32_t channel, std::vector<emi_port_limits> limits);

    // A MIU2GMC's traffic generator now moves this, or nothing. It enters at the larb port that
    // the BIST module gives it; without one it passes no monitor.
    void run_generator(std::uint32_t number, const flow &load);
    void stop_generator(std::uint32_t number);
    std::uint64_t rate_of_generator(std::uint32_t number) const;  // MB/s that it gets through

    // What limits and masks keep from the ports of a module, in MB/s.
    std::uint64_t held_back(const module_ports &ports) const;

    // Grows with every change of what moves.
    std::uint64_t changes() const { return changes_; }

    // The ports that the tree gives an SMI common.
    std::uint32_t inputs_of(std::uint32_t common) const;
    std::uint32_t outputs_of(std::uint32_t common) const;

    // What passes a port now. Sources without traffic are not among it.
    streams at_larb_port(block_port place) const;
    streams at_common_input(block_port place) const;
    streams at_common_output(block_port place) const;
    streams at_emi_port(std::uint32_t port) const;

    // What one channel carries of an EMI port's traffic, in MB/s.
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

    struct forced {
        std::uint32_t ultra = 0;
        std::uint32_t preultra = 0;
    };
    using group = std::vector<stream *>;

    void learn_common(std::uint32_t number, const devicetree::node &node);
    void learn_larb(const devicetree::flat_tree &tree, std::uint32_t number,
                    const devicetree::node &node);
    void learn_generators(const devicetree::node *module);
    stream route(const source &from) const;
    void settle();
    void apply_mask(stream &passing) const;
    void apply_larb_limits();
    void apply_forced_priority(stream &passing) const;
    void apply_emi_limits();
    rates let_through(rates whole, std::uint32_t emi_port);
    std::optional<block_port> common_output_of(const stream &passing) const;
    std::optional<std::uint32_t> emi_port_of(const stream &passing) const;
    template <typename condition>
    streams those(condition wanted) const;

    layout layout_;
    std::map<std::uint32_t, common> commons_;
    std::map<std::uint32_t, std::optional<block_port>> larbs_;  // to the common and its input
    std::map<std::uint32_t, block_port> generator_ports_;       // to the larb
    std::map<block_port, std::uint32_t> larb_limits_;           // transactions, none of them 0
    std::map<std::uint32_t, forced> forced_;                    // by larb
    std::map<std::uint32_t, std::uint32_t> masks_;              // by larb
    std::map<std::uint32_t, std::vector<emi_port_limits>> emi_limits_;  // by channel
    std::vector<stream> sources_;                                       // as the scenario has them
    std::map<std::uint32_t, stream> generators_;                        // that run
    std::vector<stream> streams_;                                       // all, as they move
    std::map<std::uint32_t, std::vector<std::uint64_t>> emi_rates_;     // by EMI port and channel
    std::uint64_t changes_ = 0;
};

// N of a node that is named PREFIX and a decimal number without leading zeros.
std::optional<std::uint32_t> block_number(const std::string &node_name, std::string_view prefix);

}  // namespace soc
