// SPDX-License-Identifier: GPL-2.0-only
#include "tests/oracle.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <sstream>
#include <utility>

namespace tests {

namespace {

using std::uint32_t;
using std::uint64_t;

constexpr uint64_t thousand = 1000;
constexpr uint64_t million = 1'000'000;

template <typename... values>
std::string words(const values &...each) {
    std::ostringstream text;
    const char *blank = "";
    ((text << std::exchange(blank, " ") << each), ...);
    return text.str();
}

uint64_t quotient(uint64_t dividend, uint64_t divisor) {
    return divisor != 0 ? dividend / divisor : 0;
}

uint64_t bus_of(uint64_t data, uint64_t efficiency) {
    return quotient(data * 100, efficiency);
}

enum class level { larb, input, output, emi };

struct place {
    level where;
    uint32_t block;
    uint32_t port;

    auto operator<=>(const place &) const = default;
};

// All that passes one place: the sum of the rates, and averages over the requests.
struct passage {
    explicit passage(const std::vector<soc::flow> &flows = {}) {
        uint64_t cost = 0;  // in millionths of a MB/s
        for (const soc::flow &flow : flows) {
            const uint64_t moved = uint64_t{flow.read} + flow.write;
            read += flow.read;
            write += flow.write;
            cost += moved * 100 * million / flow.efficiency;
            burst += moved * flow.burst;
            ultra += moved * count_of(flow.ultra);
            preultra += moved * count_of(flow.preultra);
            latency += moved * flow.latency;
            read_period = std::max(read_period, flow.read != 0 ? flow.period : 0);
            write_period = std::max(write_period, flow.write != 0 ? flow.period : 0);
        }
        efficiency = quotient(rate() * 100 * million, cost);
        for (uint64_t *sum : {&burst, &ultra, &preultra, &latency}) {
            *sum = quotient(*sum, rate());
        }
    }
    // The least number of requests out of 1024 that is at least that share.
    static uint64_t count_of(uint32_t percent) { return (percent * 1024 + 99) / 100; }

    uint64_t rate() const { return read + write; }
    uint64_t bus() const { return bus_of(rate(), efficiency); }

    uint64_t read = 0;
    uint64_t write = 0;
    uint64_t efficiency = 0;
    uint64_t burst = 0;
    uint64_t ultra = 0;  // requests out of 1024
    uint64_t preultra = 0;
    uint64_t latency = 0;
    uint32_t read_period = 0;  // the longest, ns
    uint32_t write_period = 0;
};

// What is counted at a port, and what an efficiency monitor sees of its requests.
struct figures {
    uint64_t data() const { return read + write; }
    uint64_t bus() const { return bus_of(read, seen.efficiency) + bus_of(write, seen.efficiency); }
    std::string shares() const {
        return words(seen.burst, seen.efficiency, seen.ultra * 100 / 1024,
                     seen.preultra * 100 / 1024);
    }

    uint64_t read = 0;
    uint64_t write = 0;
    passage seen = passage();
};

// What the EMI report says of a port.
std::string emi_text(const passage &of) {
    return words(of.rate(), of.efficiency, of.burst + 1, of.bus(), of.latency);
}

}  // namespace

std::string number_of(const std::string &prefix, uint32_t number) {
    return prefix + std::to_string(number);
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

std::vector<port_group> port_groups_of(const devicetree::node &module) {
    std::vector<port_group> groups;

    for (const devicetree::node *child : module.children) {
        const bool larb = child->has("larb-id");
        if (larb || child->has("common-id")) {
            const uint32_t block = *child->u32(larb ? "larb-id" : "common-id");
            groups.push_back({larb, block, child->u32_array("port-list")});
        } else {
            std::ranges::copy(port_groups_of(*child), std::back_inserter(groups));
        }
    }
    return groups;
}

std::map<std::string, std::vector<soc::source>> sources_by_module(
    const devicetree::flat_tree &tree) {
    using enum soc::source_kind;
    std::map<std::string, std::vector<soc::source>> found;

    for (const devicetree::node *module : modules_of(tree)) {
        const std::string name = *module->string("module-name");
        std::vector<soc::source> &sources = found[name];
        for (const port_group &group : port_groups_of(*module)) {
            for (const uint32_t port : group.ports) {
                // The APU is measured at its SMI commons only.
                if (name != "BIST" && (name != "APU" || !group.larb)) {
                    const auto kind = group.larb ? larb_port : common_input;
                    sources.push_back({kind, group.block, port, {}});
                }
            }
        }
    }
    found["CPU"] = {{emi_port, 0, 0, {}}, {emi_port, 0, 1, {}}};
    found["GPU"] = {{emi_port, 0, 7, {}}};
    return found;
}

struct oracle::chip {
    // What it is like.

    uint32_t setting(const std::string &node, const char *property) const {
        return *tree.by_name(node)->u32(property);
    }
    uint32_t of_common(uint32_t common, const char *property) const {
        return setting(number_of("smi_common", common), property);
    }
    // The output that an input's path-select bit asks for, as firmware has set it up.
    uint32_t path_of(const place &input) const {
        for (const soc::preset &preset : traffic.presets) {
            if (preset.node == number_of("smi_common", input.block) && preset.offset == 0x220) {
                return preset.value >> (2 * input.port) & 1;
            }
        }
        return 0;
    }
    place input_of(uint32_t larb) const {
        const devicetree::node &node = *tree.by_name(number_of("larb", larb));
        const devicetree::node &common = *tree.by_phandle(*node.u32("quorix,smi"));
        return {level::input, *common.u32("quorix,common-id"), *node.u32("quorix,smi-port-id")};
    }
    bool monitors_at_emi() const { return tree.by_name("emi_arch")->has("emi-effi-monitor"); }
    uint32_t channels() const { return setting("emi_arch", "emi_cnt"); }
    std::vector<uint32_t> emi_ports() const {
        std::vector<uint32_t> ports(setting("emi_arch", "emi_port_cnt"));
        std::iota(ports.begin(), ports.end(), 0);
        return ports;
    }

    // What passes where.

    // A path that isn't there leads to the last output.
    void follow(const soc::source &source) {
        place at{level::emi, 0, source.port};
        if (source.kind != soc::source_kind::emi_port) {
            place input{level::input, source.block, source.port};
            if (source.kind == soc::source_kind::larb_port) {
                flows[{level::larb, source.block, source.port}].push_back(source.traffic);
                input = input_of(source.block);
            }
            const uint32_t last = of_common(input.block, "output-port-nr") - 1;
            const place output{level::output, input.block, std::min(path_of(input), last)};
            flows[input].push_back(source.traffic);
            flows[output].push_back(source.traffic);
            at.port = tree.by_name(number_of("smi_common", input.block))
                          ->u32_array("quorix,emi-port")
                          .at(output.port);
        }
        flows[at].push_back(source.traffic);
    }
    passage at(const place &where) const {
        const auto found = flows.find(where);
        return found != flows.end() ? passage(found->second) : passage();
    }
    passage at_emi(uint32_t port) const { return at({level::emi, 0, port}); }

    // What the monitors tell.

    uint64_t lasted(const monitor_run &run) const {
        return length ? length(run) : time_ms * million;
    }
    // A 32-bit counter after so many ns, in bytes per millisecond of the monitoring time.
    uint64_t counted(uint64_t rate, uint64_t ns, uint32_t unit) const {
        return static_cast<uint32_t>(rate * ns / (unit * thousand) * unit) / time_ms;
    }
    // The monitor of an SMI common numbers the outputs first.
    monitor_run run_of(const place &port, bool write) const {
        if (port.where == level::larb) {
            return {number_of("larb", port.block), write ? 0x208u : 0x204u, port.port};
        }
        const uint32_t outputs = of_common(port.block, "output-port-nr");
        const uint32_t number = port.port + (port.where == level::input ? outputs : 0);
        return {number_of("smi_common", port.block), write, number << 4 | 1};
    }
    // Whether an efficiency monitor sees what passes a larb's port or an input: none sees what asks
    // for a path that isn't there.
    bool is_watched(const place &port) const {
        const place input = port.where == level::larb ? input_of(port.block) : port;
        const uint32_t path = path_of(input);
        const bool monitored = monitors_at_emi()
                                   ? input.block == 0 || (input.block < 3 && path == 0)
                                   : path == 0 || (input.block != 3 && input.block != 4);
        return port.where != level::output && monitored &&
               path < of_common(input.block, "output-port-nr");
    }
    // Rates in bytes per millisecond, or in MB/s.
    figures at_port(const place &port, uint64_t unit) const {
        const passage passing = at(port);
        figures result{.read = counted(passing.read, lasted(run_of(port, false)), 16) / unit,
                       .write = counted(passing.write, lasted(run_of(port, true)), 16) / unit};
        if (result.data() != 0 && is_watched(port)) {
            result.seen = passing;
        }
        return result;
    }
    uint64_t period_shown(uint64_t ns) const {
        const uint64_t clock = setting("dram_config", "smi_clock");
        return ns * clock / thousand * thousand / clock;
    }

    // The total report.

    // Four ports of a larb are counted in one run.
    void add_larb(const port_group &group, std::vector<figures> &all) const {
        for (std::size_t first = 0; first < group.ports.size(); first += 4) {
            const std::size_t end = std::min(first + 4, group.ports.size());
            uint32_t selection = 0;
            for (std::size_t i = first; i < end; i++) {
                selection |= group.ports[i] << (8 * (i - first));
            }
            const uint64_t ns = lasted({number_of("larb", group.block), 0x400, selection});
            for (std::size_t i = first; i < end; i++) {
                const place port{level::larb, group.block, group.ports[i]};
                all.push_back({.read = counted(at(port).rate(), ns, 1),
                               .seen = is_watched(port) ? at(port) : passage()});
            }
        }
    }
    expected_row smi_row(const std::string &name, const devicetree::node &module) const {
        std::vector<figures> all;
        for (const port_group &group : port_groups_of(module)) {
            if (group.larb && name != "APU") {
                add_larb(group, all);
            }
            for (const uint32_t port : group.larb ? std::vector<uint32_t>{} : group.ports) {
                all.push_back(at_port({level::input, group.block, port}, 1));
            }
        }
        expected_row row{.name = name};
        for (const figures &each : all) {
            row.data += each.data();
            row.bus += each.bus();
            row.ultra += each.data() * each.seen.ultra;
            row.preultra += each.data() * each.seen.preultra;
        }
        row.ultra = name == "APU" ? 0 : quotient(row.ultra, row.data) * 100 / 1024;
        row.preultra = name == "APU" ? 0 : quotient(row.preultra, row.data) * 100 / 1024;
        row.data /= thousand;
        row.bus /= thousand;
        row.effi = quotient(row.data * 100, row.bus);
        return row;
    }
    // What the DRAM controller counts at these ports, at an efficiency that is fixed or, being 0,
    // measured.
    expected_row dram_row(const std::string &name, const std::vector<uint32_t> &ports,
                          uint64_t fixed) const {
        expected_row row{.name = name};
        for (const uint32_t port : ports) {
            row.data += at_emi(port).rate();
            row.effi += fixed != 0 ? fixed : at_emi(port).efficiency;
        }
        row.effi /= ports.size();
        row.bus = bus_of(row.data, row.effi);
        return row;
    }
    expected_row module_row(const devicetree::node &module) const {
        const std::string name = *module.string("module-name");
        const uint64_t effi = monitors_at_emi() ? 0 : 64;
        if (name == "CPU") {
            return dram_row(name, {0, 1}, effi);
        }
        if (name == "GPU") {
            return dram_row(name, {7}, effi);
        }
        return name == "REF_EMI" ? dram_row(name, emi_ports(), 70) : smi_row(name, module);
    }

    // The EMI report.

    // Channels share a port's traffic evenly, the first ones take the odd MB/s.
    uint64_t channel_rate(uint32_t port, uint32_t channel) const {
        const uint64_t all = at_emi(port).rate();
        return all / channels() + (channel < all % channels() ? 1 : 0);
    }
    // A channel counts requests of 64 bytes and stops before the sum of their latencies leaves its
    // 32 bits. From port 8 on, the register of the sum is that of another port's count.
    uint64_t latency(uint32_t port, uint32_t channel) const {
        const uint64_t clock = setting("dram_config", "emi_clock");
        const auto cycles = [&](uint32_t of) { return at_emi(of).latency * clock / thousand; };
        const auto requests = [&](uint32_t of) {
            const uint64_t all = channel_rate(of, channel) * thousand * time_ms / 64;
            return cycles(of) != 0 ? std::min(all, 0xffffffff / cycles(of)) : all;
        };
        const uint64_t sum = port < 8 ? requests(port) * cycles(port) : requests(port - 8);
        return quotient(sum, requests(port)) * million / clock / thousand;
    }
    // Of some channels, one after the other. One monitor watches a port for all of them; the first
    // reader resets it.
    passage at_channels(uint32_t port, uint32_t first, uint32_t count) const {
        passage all;
        for (uint32_t channel = first; channel < first + count; channel++) {
            const passage seen = monitors_at_emi() && channel == 0 ? at_emi(port) : passage();
            all.read += channel_rate(port, channel);
            all.efficiency += monitors_at_emi() ? seen.efficiency : 70;
            all.burst += seen.burst;
            all.latency += latency(port, channel);
        }
        for (uint64_t *sum : {&all.efficiency, &all.burst, &all.latency}) {
            *sum /= count;
        }
        return all;
    }

    const devicetree::flat_tree &tree;
    const soc::scenario &traffic;
    uint64_t time_ms;
    run_length length;
    std::map<place, std::vector<soc::flow>> flows;
};

oracle::oracle(const devicetree::flat_tree &tree, const soc::scenario &traffic, uint32_t time_ms,
               run_length length)
    : chip_(std::make_unique<chip>(chip{tree, traffic, time_ms, std::move(length), {}})) {
    for (const soc::source &source : traffic.sources) {
        chip_->follow(source);
    }
}

oracle::~oracle() = default;

std::vector<expected_row> oracle::total() const {
    std::vector<expected_row> rows;
    expected_row sum{.name = "SUM"};

    for (const devicetree::node *module : modules_of(chip_->tree)) {
        if (module->string("module-name") != "SUM") {
            rows.push_back(chip_->module_row(*module));
        }
    }
    std::vector<expected_row> summed = rows;
    std::erase_if(summed, [](const expected_row &row) { return row.name == "REF_EMI"; });
    for (const expected_row &row : summed) {
        sum.data += row.data;
        sum.bus += row.bus;
    }
    for (const expected_row &row : summed) {
        sum.ultra += quotient(row.bus * 100, sum.bus) * row.ultra;
        sum.preultra += quotient(row.bus * 100, sum.bus) * row.preultra;
    }
    sum.ultra /= 100;
    sum.preultra /= 100;
    sum.effi = quotient(sum.data * 100, sum.bus);
    rows.push_back(sum);
    return rows;
}

lines oracle::larb_report(uint32_t module) const {
    const devicetree::node &node = *modules_of(chip_->tree).at(module);
    const std::string name = *node.string("module-name");
    lines report = {"Module : " + name};
    uint64_t data = 0;
    uint64_t bus = 0;

    for (const port_group &group : port_groups_of(node)) {
        const std::string larb = number_of("larb", group.block);
        if (group.larb) {
            report.push_back(number_of("SMI_LARB ", group.block));
        }
        for (const uint32_t port : group.larb ? group.ports : std::vector<uint32_t>{}) {
            const passage passing = chip_->at({level::larb, group.block, port});
            const figures counted = chip_->at_port({level::larb, group.block, port}, thousand);
            const bool watched = chip_->lasted({larb, 0x200, port}) != 0;
            const uint32_t period =
                watched ? std::max(passing.read_period, passing.write_period) : 0;
            report.push_back(words(port, counted.read, counted.write, chip_->period_shown(period),
                                   counted.shares()));
            data += counted.data();
            bus += counted.bus();
        }
    }
    if (report.size() == 1) {
        return {name + " not support larb monitor"};
    }
    report.push_back(words(data, quotient(data * 100, bus), bus));
    return report;
}

lines oracle::common_report() const {
    lines report;

    const auto add_port = [&](const std::string &title, const place &port) {
        const passage passing = chip_->at(port);
        const figures counted = chip_->at_port(port, thousand);
        if (counted.data() != 0) {
            report.push_back(words(title, port.port, counted.read, counted.write,
                                   chip_->period_shown(passing.read_period),
                                   chip_->period_shown(passing.write_period),
                                   title == "Out" ? "- - - -" : counted.shares()));
        }
    };
    for (uint32_t common = 0; common < chip_->setting("emi_arch", "smi_common_cnt"); common++) {
        const std::string title = number_of("SMI_COMMON ", common);
        report.push_back(title);
        for (uint32_t port = 0; port < chip_->of_common(common, "input-port-nr"); port++) {
            add_port("In", {level::input, common, port});
        }
        for (uint32_t port = 0; port < chip_->of_common(common, "output-port-nr"); port++) {
            add_port("Out", {level::output, common, port});
        }
        if (report.back() == title) {
            report.pop_back();
        }
    }
    return report;
}

lines oracle::emi_total() const {
    lines report = {"CENTRAL_EMI ALL"};
    uint64_t data = 0;
    uint64_t bus = 0;

    for (const uint32_t port : chip_->emi_ports()) {
        const passage all = chip_->at_channels(port, 0, chip_->channels());
        report.push_back(words(port, emi_text(all)));
        data += all.rate();
        bus += all.bus();
    }
    report.push_back(words("ALL", data, quotient(data * 100, bus), "-", bus, "-"));
    return report;
}

lines oracle::emi_detail() const {
    lines report;

    for (uint32_t channel = 0; channel < chip_->channels(); channel++) {
        report.push_back(number_of("CENTRAL_EMI ", channel));
        for (const uint32_t port : chip_->emi_ports()) {
            report.push_back(words(port, emi_text(chip_->at_channels(port, channel, 1))));
        }
    }
    return report;
}

std::uint64_t oracle::bus_percent() const {
    uint64_t bus = 0;

    for (const uint32_t port : chip_->emi_ports()) {
        bus += chip_->at_channels(port, 0, chip_->channels()).bus();
    }
    return std::min<uint64_t>(bus * 100 / peak(), 100);
}

std::uint64_t oracle::peak() const {
    const auto clocks = chip_->tree.by_name("dramc")->u32_array("channel-freq");
    const auto lowest = std::min_element(clocks.begin(), clocks.end());
    const uint32_t clock =
        lowest != clocks.end() ? *lowest : chip_->setting("dram_config", "dram_clock");

    return uint64_t{chip_->setting("dram_config", "bus_width")} / 8 * clock;
}

}  // namespace tests
