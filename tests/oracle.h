// SPDX-License-Identifier: GPL-2.0-only
// What every report must say, worked out from the device tree and the traffic that was put in.
//
// The traffic is followed from its sources through the ports of the chip. What a port's monitor
// counts follows from that and from the length of its run; the reports are made of these figures.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/scenario.h"

namespace tests {

using lines = std::vector<std::string>;

// Ports of a larb, or input ports of an SMI common, that a module uses.
struct port_group {
    bool larb;
    std::uint32_t block;
    std::vector<std::uint32_t> ports;
};

// In the tree's order.
std::vector<const devicetree::node *> modules_of(const devicetree::flat_tree &tree);
std::vector<port_group> port_groups_of(const devicetree::node &module);

std::string number_of(const std::string &prefix, std::uint32_t number);

// The sources that belong to each module, without traffic.
std::map<std::string, std::vector<soc::source>> sources_by_module(
    const devicetree::flat_tree &tree);

// A row of the total report.
struct expected_row {
    std::string name;
    std::uint64_t data = 0;  // MB/s
    std::uint64_t effi = 0;
    std::uint64_t bus = 0;  // MB/s
    std::uint64_t ultra = 0;
    std::uint64_t preultra = 0;

    bool operator==(const expected_row &) const = default;
};

// A run of a bandwidth monitor: a larb's mode and selected ports, or an SMI common's direction and
// selected port, as their registers hold them.
struct monitor_run {
    std::string block;
    std::uint32_t mode;
    std::uint32_t selection;

    auto operator<=>(const monitor_run &) const = default;
};

// How long a run took, in ns. Each run of a report is asked for once, runs with the same settings
// in the order in which the report makes them.
using run_length = std::function<std::uint64_t(const monitor_run &run)>;

class oracle {
  public:
    // Tree and traffic must outlive the oracle. Without `length` every run takes the monitoring
    // time, which is at least 1 ms.
    oracle(const devicetree::flat_tree &tree, const soc::scenario &traffic, std::uint32_t time_ms,
           run_length length = {});
    ~oracle();

    std::vector<expected_row> total() const;  // of all modules, by position

    // Titles and rows of the text, words apart by single blanks, without the settings of ports.
    lines larb_report(std::uint32_t module) const;
    lines common_report() const;
    lines emi_total() const;
    lines emi_detail() const;

    std::uint64_t bus_percent() const;
    std::uint64_t peak() const;  // of the DRAM, MB/s

  private:
    struct chip;
    std::unique_ptr<chip> chip_;
};

}  // namespace tests
