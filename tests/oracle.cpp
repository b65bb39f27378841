// SPDX-License-Identifier: GPL-2.0-only
#include "tests/oracle.h"

#include <algorithm>

#include "tests/chip_view.h"

namespace tests {

namespace {

using std::uint32_t;
using std::uint64_t;

// Sums of one module while it is measured, in bytes per millisecond.
struct sums {
    uint64_t data = 0;
    uint64_t bus = 0;
    uint64_t ultra = 0;
    uint64_t preultra = 0;

    void add(uint64_t bandwidth, const soc::flow &flow, bool watched) {
        data += bandwidth;
        if (bandwidth != 0 && watched) {
            bus += bandwidth * 100 / flow.efficiency;
            ultra += request_count(flow.ultra) * bandwidth;
            preultra += request_count(flow.preultra) * bandwidth;
        }
    }
};

void add_port(const chip_view &chip, const port_use &use, uint32_t time_ms, sums &total) {
    const auto kind = use.larb ? soc::source_kind::larb_port : soc::source_kind::common_input;
    const soc::flow *flow = chip.flow(kind, use.block, use.port);

    if (!flow) {
        return;
    }
    if (use.larb) {
        const auto [common, input] = chip.attachment(use.block);
        total.add(counted(flow->read + flow->write, time_ms, 1), *flow,
                  chip.is_watched(common, input));
        return;
    }
    const bool watched = chip.is_watched(use.block, use.port);
    total.add(counted(flow->read, time_ms, 16), *flow, watched);
    total.add(counted(flow->write, time_ms, 16), *flow, watched);
}

uint64_t emi_efficiency(const chip_view &chip, uint32_t port) {
    const soc::flow *flow = chip.flow(soc::source_kind::emi_port, 0, port);

    return flow && flow->read + flow->write != 0 ? flow->efficiency : 0;
}

uint64_t emi_rate(const chip_view &chip, uint32_t port) {
    const soc::flow *flow = chip.flow(soc::source_kind::emi_port, 0, port);

    return flow ? flow->read + flow->write : 0;
}

expected_row counter_row(const std::string &name, uint64_t rate, uint64_t effi) {
    return {.name = name, .data = rate, .effi = effi, .bus = effi != 0 ? rate * 100 / effi : 0};
}

expected_row module_row(const chip_view &chip, const devicetree::node &module, uint32_t time_ms) {
    const std::string name = *module.string("module-name");

    if (name == "CPU") {
        const uint64_t effi =
            chip.monitors_at_emi() ? (emi_efficiency(chip, 0) + emi_efficiency(chip, 1)) / 2 : 64;
        return counter_row(name, emi_rate(chip, 0) + emi_rate(chip, 1), effi);
    }
    if (name == "GPU") {
        return counter_row(name, emi_rate(chip, 7),
                           chip.monitors_at_emi() ? emi_efficiency(chip, 7) : 64);
    }
    if (name == "REF_EMI") {
        return counter_row(name, chip.everything(), 70);
    }
    sums total;
    for (const port_use &use : ports_of(module)) {
        // The APU is measured at its SMI commons only.
        if (name != "APU" || !use.larb) {
            add_port(chip, use, time_ms, total);
        }
    }
    expected_row row{.name = name, .data = mb(total.data), .bus = mb(total.bus)};
    row.effi = row.bus != 0 ? row.data * 100 / row.bus : 0;
    if (total.data != 0 && name != "APU") {
        row.ultra = total.ultra / total.data * 100 / 1024;
        row.preultra = total.preultra / total.data * 100 / 1024;
    }
    return row;
}

void add_up(expected_report &report) {
    expected_row &sum = report.rows.back();

    for (const expected_row &row : report.rows) {
        if (row.name != "SUM" && row.name != "REF_EMI") {
            sum.data += row.data;
            sum.bus += row.bus;
        }
    }
    for (const expected_row &row : report.rows) {
        if (row.name != "SUM" && row.name != "REF_EMI" && sum.bus != 0) {
            sum.ultra += row.bus * 100 / sum.bus * row.ultra;
            sum.preultra += row.bus * 100 / sum.bus * row.preultra;
        }
    }
    sum.ultra /= 100;
    sum.preultra /= 100;
    sum.effi = sum.bus != 0 ? sum.data * 100 / sum.bus : 0;
}

constexpr uint64_t us_per_ms = 1000;
constexpr uint64_t poll_us = 999;

// Groups of ports that are measured together: four of a larb at once.
uint64_t larb_runs(const std::vector<port_use> &uses) {
    std::map<uint32_t, uint64_t> ports;
    uint64_t runs = 0;

    for (const port_use &use : uses) {
        ports[use.block] += use.larb ? 1 : 0;
    }
    for (const auto &[larb, count] : ports) {
        runs += (count + 3) / 4;
    }
    return runs;
}

// Efficiency measurements that a port's traffic calls for: one, or one for each direction of an
// SMI common port.
uint64_t efficiency_runs(const chip_view &chip, const port_use &use, uint32_t time_ms) {
    const auto kind = use.larb ? soc::source_kind::larb_port : soc::source_kind::common_input;
    const soc::flow *flow = chip.flow(kind, use.block, use.port);

    if (!flow) {
        return 0;
    }
    if (use.larb) {
        const auto [common, input] = chip.attachment(use.block);
        return chip.has_monitor(common, input) && counted(flow->read + flow->write, time_ms, 1) != 0
                   ? 1
                   : 0;
    }
    if (!chip.has_monitor(use.block, use.port)) {
        return 0;
    }
    return (counted(flow->read, time_ms, 16) != 0 ? 1 : 0) +
           (counted(flow->write, time_ms, 16) != 0 ? 1 : 0);
}

uint64_t module_wait_us(const chip_view &chip, const devicetree::node &module, uint32_t time_ms) {
    const std::string name = *module.string("module-name");
    const uint64_t window = time_ms * us_per_ms;

    if (name == "SUM") {
        return 0;
    }
    if (name == "CPU" || name == "GPU" || name == "REF_EMI") {
        const uint64_t fixed_monitors = name == "CPU" ? 2 : name == "GPU" ? 1 : 0;
        return window + (chip.monitors_at_emi() ? fixed_monitors * poll_us : 0);
    }
    std::vector<port_use> uses = ports_of(module);
    if (name == "APU") {
        std::erase_if(uses, [](const port_use &use) { return use.larb; });
    }
    uint64_t us = larb_runs(uses) * window;
    for (const port_use &use : uses) {
        us += use.larb ? 0 : 2 * window;
        us += efficiency_runs(chip, use, time_ms) * poll_us;
    }
    return us;
}

}  // namespace

std::uint64_t expect_wait_us(const devicetree::flat_tree &tree, const soc::scenario &traffic,
                             std::uint32_t time_ms) {
    const chip_view chip(tree, traffic);
    uint64_t us = 0;

    for (const devicetree::node *module : modules_of(tree)) {
        us += module_wait_us(chip, *module, time_ms);
    }
    return us;
}

std::map<std::string, std::vector<soc::source>> sources_by_module(
    const devicetree::flat_tree &tree) {
    std::map<std::string, std::vector<soc::source>> found;

    for (const devicetree::node *module : modules_of(tree)) {
        const std::string name = *module->string("module-name");
        std::vector<soc::source> &sources = found[name];
        for (const port_use &use : ports_of(*module)) {
            if (name == "BIST" || (name == "APU" && use.larb)) {
                continue;
            }
            sources.push_back(
                {use.larb ? soc::source_kind::larb_port : soc::source_kind::common_input,
                 use.block,
                 use.port,
                 {}});
        }
    }
    found["CPU"] = {{soc::source_kind::emi_port, 0, 0, {}}, {soc::source_kind::emi_port, 0, 1, {}}};
    found["GPU"] = {{soc::source_kind::emi_port, 0, 7, {}}};
    return found;
}

expected_report expect_total(const devicetree::flat_tree &tree, const soc::scenario &traffic,
                             uint32_t dram_clock, uint32_t time_ms) {
    const chip_view chip(tree, traffic);
    expected_report report;

    for (const devicetree::node *module : modules_of(tree)) {
        report.rows.push_back(*module->string("module-name") == "SUM"
                                  ? expected_row{.name = "SUM"}
                                  : module_row(chip, *module, time_ms));
    }
    add_up(report);
    report.total = uint64_t{*tree.by_name("dram_config")->u32("bus_width")} / 8 * dram_clock;
    const auto signed_total = static_cast<std::int64_t>(report.total);
    report.usage = report.rows.back().bus * 100 / report.total;
    report.slack = signed_total - static_cast<std::int64_t>(report.rows.back().bus);
    report.slack_percent = report.slack * 100 / signed_total;
    return report;
}

}  // namespace tests
