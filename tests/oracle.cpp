// SPDX-License-Identifier: GPL-2.0-only
#include "tests/oracle.h"

#include <algorithm>
#include <optional>
#include <set>

namespace tests {

namespace {

using std::uint32_t;
using std::uint64_t;

std::string number_of(const std::string &prefix, uint32_t number) {
    return prefix + std::to_string(number);
}

struct port_use {
    bool larb;
    uint32_t block;
    uint32_t port;
};

void collect_ports(const devicetree::node &group, std::vector<port_use> &uses) {
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

class chip_view {
  public:
    chip_view(const devicetree::flat_tree &tree, const soc::scenario &traffic)
        : tree_(tree),
          traffic_(traffic),
          at_emi_(tree.by_name("emi_arch")->has("emi-effi-monitor")) {}

    bool monitors_at_emi() const { return at_emi_; }

    const soc::flow *flow(soc::source_kind kind, uint32_t block, uint32_t port) const {
        for (const soc::source &source : traffic_.sources) {
            if (source.kind == kind && source.port == port &&
                (kind == soc::source_kind::emi_port || source.block == block)) {
                return &source.traffic;
            }
        }
        return nullptr;
    }

    // Whether the path that is selected for an SMI common input has an efficiency monitor.
    bool has_monitor(uint32_t common, uint32_t input) const {
        using paths = std::set<std::pair<uint32_t, uint32_t>>;
        static const paths behind_commons = {{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0},
                                             {2, 1}, {3, 0}, {4, 0}, {5, 0}, {5, 1},
                                             {6, 0}, {6, 1}, {7, 0}, {7, 1}};
        static const paths at_emi = {{0, 0}, {0, 1}, {1, 0}, {2, 0}};

        return (at_emi_ ? at_emi : behind_commons).contains({common, path(common, input)});
    }

    // Whether that monitor sees the input's requests: they do not take a path that isn't there.
    bool is_watched(uint32_t common, uint32_t input) const {
        const auto outputs = tree_.by_name(number_of("smi_common", common))->u32("output-port-nr");

        return has_monitor(common, input) && path(common, input) < *outputs;
    }

    // The SMI common and its input behind which a larb sits.
    std::pair<uint32_t, uint32_t> attachment(uint32_t larb) const {
        const devicetree::node *node = tree_.by_name(number_of("larb", larb));

        return {*tree_.by_phandle(*node->u32("quorix,smi"))->u32("quorix,common-id"),
                *node->u32("quorix,smi-port-id")};
    }

    uint64_t everything() const {
        uint64_t sum = 0;

        for (const soc::source &source : traffic_.sources) {
            sum += source.traffic.read + source.traffic.write;
        }
        return sum;
    }

  private:
    uint32_t path(uint32_t common, uint32_t input) const {
        for (const soc::preset &preset : traffic_.presets) {
            if (preset.node == number_of("smi_common", common) && preset.offset == 0x220) {
                return preset.value >> (2 * input) & 1;
            }
        }
        return 0;
    }

    const devicetree::flat_tree &tree_;
    const soc::scenario &traffic_;
    bool at_emi_;
};

// Requests out of 1024 that are at least that share.
uint64_t request_count(uint32_t percent) {
    return (uint64_t{percent} * 1024 + 99) / 100;
}

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

uint64_t mb(uint64_t bytes_per_ms) {
    return bytes_per_ms * 1000 / 1000000;
}

// A 32-bit counter of `unit` bytes over the time, times the unit in 32 bits, per millisecond.
uint64_t counted(uint64_t mb_per_s, uint32_t time_ms, uint32_t unit) {
    const uint64_t bytes = mb_per_s * 1000 * time_ms;

    return static_cast<uint32_t>(bytes / unit * unit) / time_ms;
}

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
