// SPDX-License-Identifier: GPL-2.0-only
#include "tests/port_oracle.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>

#include "tests/chip_view.h"

namespace tests {

namespace {

using std::uint32_t;
using std::uint64_t;

constexpr uint64_t us_per_ms = 1000;
constexpr uint64_t poll_us = 999;
constexpr uint64_t ns_per_us = 1000;

template <typename... values>
std::string row(const char *format, values... each) {
    char text[160];

    std::snprintf(text, sizeof(text), format, each...);
    return text;
}

unsigned long long llu(uint64_t value) {
    return value;
}

// Sources that pass one point of the chip.
class passage {
  public:
    void add(const soc::flow &flow) { flows_.push_back(flow); }

    uint64_t read() const {
        return sum([](const soc::flow &flow) { return uint64_t{flow.read}; });
    }
    uint64_t write() const {
        return sum([](const soc::flow &flow) { return uint64_t{flow.write}; });
    }
    uint64_t rate() const { return read() + write(); }

    // Data over the bus time that it takes, percent; bus time in millionths of a MB/s.
    uint64_t efficiency() const {
        const uint64_t bus = sum([](const soc::flow &flow) {
            return (uint64_t{flow.read} + flow.write) * 100'000'000 / flow.efficiency;
        });
        return bus != 0 ? rate() * 100'000'000 / bus : 0;
    }

    // Numbers of all the requests together are means, weighted with the rates.
    uint64_t ultra_percent() const {
        return mean([](const soc::flow &flow) { return request_count(flow.ultra); }) * 100 / 1024;
    }
    uint64_t preultra_percent() const {
        return mean([](const soc::flow &flow) { return request_count(flow.preultra); }) * 100 /
               1024;
    }
    uint64_t burst() const {
        return mean([](const soc::flow &flow) { return uint64_t{flow.burst}; });
    }
    uint64_t latency_ns() const {
        return mean([](const soc::flow &flow) { return uint64_t{flow.latency}; });
    }

    // The longest command period of the sources that move data that way, in ns.
    uint64_t longest_period(bool reads, bool writes) const {
        uint64_t longest = 0;
        for (const soc::flow &flow : flows_) {
            if ((reads && flow.read != 0) || (writes && flow.write != 0)) {
                longest = std::max<uint64_t>(longest, flow.period);
            }
        }
        return longest;
    }

  private:
    uint64_t sum(const std::function<uint64_t(const soc::flow &)> &number) const {
        uint64_t all = 0;
        for (const soc::flow &flow : flows_) {
            all += number(flow);
        }
        return all;
    }
    uint64_t mean(const std::function<uint64_t(const soc::flow &)> &number) const {
        const uint64_t weighted = sum([&](const soc::flow &flow) {
            return (uint64_t{flow.read} + flow.write) * number(flow);
        });
        return rate() != 0 ? weighted / rate() : 0;
    }

    std::vector<soc::flow> flows_;
};

struct common_place {
    uint32_t common;
    uint32_t input;
    uint32_t output;
};

class route_view : public chip_view {
  public:
    route_view(const devicetree::flat_tree &tree, const soc::scenario &traffic)
        : chip_view(tree, traffic) {
        for (const soc::source &source : traffic.sources) {
            if (source.traffic.read + source.traffic.write != 0) {
                const auto place = through_common(source);
                const uint32_t emi =
                    place ? emi_port_behind(tree, place->common, place->output) : source.port;
                routes_.push_back({&source, place, emi});
            }
        }
    }

    uint32_t setting(const char *node, const char *property) const {
        return *tree().by_name(node)->u32(property);
    }
    uint32_t ports_of_common(uint32_t common, const char *property) const {
        return *tree().by_name(number_of("smi_common", common))->u32(property);
    }

    passage at_larb(uint32_t larb, uint32_t port) const {
        return those([=](const route &each) {
            return each.source->kind == soc::source_kind::larb_port && each.source->block == larb &&
                   each.source->port == port;
        });
    }
    passage at_input(uint32_t common, uint32_t input) const {
        return those([=](const route &each) {
            return each.place && each.place->common == common && each.place->input == input;
        });
    }
    passage at_output(uint32_t common, uint32_t output) const {
        return those([=](const route &each) {
            return each.place && each.place->common == common && each.place->output == output;
        });
    }
    passage at_emi(uint32_t port) const {
        return those([=](const route &each) { return each.emi_port == port; });
    }

    // ns to clock cycles and back, rounded down each time.
    uint64_t period_shown(uint64_t ns) const {
        const uint64_t clock = setting("dram_config", "smi_clock");
        return ns * clock / ns_per_us * 1000 / clock;
    }

  private:
    struct route {
        const soc::source *source;
        std::optional<common_place> place;
        uint32_t emi_port;
    };

    // Where a source passes an SMI common; a path that isn't there leads to the last output.
    std::optional<common_place> through_common(const soc::source &source) const {
        if (source.kind == soc::source_kind::emi_port) {
            return std::nullopt;
        }
        const auto [common, input] = source.kind == soc::source_kind::larb_port
                                         ? attachment(source.block)
                                         : std::pair{source.block, source.port};
        const uint32_t last = ports_of_common(common, "output-port-nr") - 1;
        return common_place{common, input, std::min(path(common, input), last)};
    }

    passage those(const std::function<bool(const route &)> &pass) const {
        passage found;
        for (const route &each : routes_) {
            if (pass(each)) {
                found.add(each.source->traffic);
            }
        }
        return found;
    }

    std::vector<route> routes_;
};

// What an efficiency monitor tells of a passage that it watches.
struct sample {
    uint64_t burst = 0;
    uint64_t efficiency = 0;
    uint64_t ultra = 0;
    uint64_t preultra = 0;
};

sample sample_of(const passage &passing, bool watched) {
    if (!watched || passing.rate() == 0) {
        return {};
    }
    return {passing.burst(), passing.efficiency(), passing.ultra_percent(),
            passing.preultra_percent()};
}

uint64_t bus_of(uint64_t data, uint64_t efficiency) {
    return efficiency != 0 ? data * 100 / efficiency : 0;
}

uint64_t percent_of(uint64_t data, uint64_t bus) {
    return bus != 0 ? data * 100 / bus : 0;
}

// MB/s that a counter of 16 bytes shows.
uint64_t shown(uint64_t rate, uint32_t time_ms) {
    return mb(counted(rate, time_ms, 16));
}

struct larb_ports {
    uint32_t larb;
    std::vector<uint32_t> ports;
};

// A module may have several groups on one larb only in trees that no test has.
std::vector<larb_ports> larbs_of(const devicetree::node &module) {
    std::vector<larb_ports> larbs;

    for (const port_use &use : ports_of(module)) {
        if (!use.larb) {
            continue;
        }
        if (larbs.empty() || larbs.back().larb != use.block) {
            larbs.push_back({use.block, {}});
        }
        larbs.back().ports.push_back(use.port);
    }
    return larbs;
}

// Efficiency runs for a port with these figures: one for each direction that shows traffic.
uint64_t directions(uint64_t read, uint64_t write) {
    return (read != 0 ? 1 : 0) + (write != 0 ? 1 : 0);
}

struct emi_row {
    uint64_t data = 0;
    uint64_t efficiency = 0;
    uint64_t burst = 0;
    uint64_t latency = 0;

    uint64_t bus() const { return bus_of(data, efficiency); }
    std::string text() const {
        return row("%llu %llu %llu %llu %llu", llu(data), llu(efficiency), llu(burst + 1),
                   llu(bus()), llu(latency));
    }
};

class emi_view : public route_view {
  public:
    emi_view(const devicetree::flat_tree &tree, const soc::scenario &traffic, uint32_t time_ms)
        : route_view(tree, traffic),
          time_ms_(time_ms),
          channels_(setting("emi_arch", "emi_cnt")),
          clock_(setting("dram_config", "emi_clock")) {
        for (uint32_t port = 0; port < setting("emi_arch", "emi_port_cnt"); port++) {
            ports_.push_back(at_emi(port));
        }
    }

    uint32_t channels() const { return channels_; }
    uint32_t ports() const { return static_cast<uint32_t>(ports_.size()); }

    // One monitor watches a port for all channels; the first reader resets it.
    emi_row of_channel(uint32_t port, uint32_t channel) const {
        emi_row result{.data = rate(port, channel), .latency = latency(port, channel)};
        if (!monitors_at_emi()) {
            result.efficiency = 70;
        } else if (channel == 0) {
            result.efficiency = ports_[port].efficiency();
            result.burst = ports_[port].burst();
        }
        return result;
    }
    emi_row of_all(uint32_t port) const {
        emi_row all;
        for (uint32_t channel = 0; channel < channels(); channel++) {
            const emi_row each = of_channel(port, channel);
            all.data += each.data;
            all.efficiency += each.efficiency;
            all.burst += each.burst;
            all.latency += each.latency;
        }
        all.efficiency /= channels();
        all.burst /= channels();
        all.latency /= channels();
        return all;
    }

    // "limit, read timer, write timer, read and write outstanding limit", hexadecimal.
    std::string settings(uint32_t port, uint32_t channel) const {
        const std::string node = number_of("emi_cen", channel);
        const uint32_t arbitration = preset(node, port == 1 ? 0x100 : 0x100 + 8 * port);
        const bool second = port >= 4 && port < 8;
        const uint32_t low = preset(node, second ? 0xd8 : 0xd0) >> (port % 4 * 8);
        const uint32_t high = preset(node, second ? 0xdc : 0xd4) >> (port % 4 * 8);

        return row("%X %X %X %X %X", arbitration % 64, arbitration >> 16 & 0xff, arbitration >> 24,
                   (low & 0xf) + (high & 0xf) * 16, (low >> 4 & 0xf) + (high >> 4 & 0xf) * 16);
    }

  private:
    // Channels share a port's traffic evenly, the first ones take the odd MB/s.
    uint64_t rate(uint32_t port, uint32_t channel) const {
        const uint64_t all = ports_[port].rate();
        return all / channels() + (channel < all % channels() ? 1 : 0);
    }
    uint64_t cycles(uint32_t port) const { return ports_[port].latency_ns() * clock_ / ns_per_us; }
    // Of 64 bytes; the count stops before the sum of their latencies leaves its 32 bits.
    uint64_t requests(uint32_t port, uint32_t channel) const {
        const uint64_t all = rate(port, channel) * 1000 * time_ms_ / 64;
        return cycles(port) != 0 ? std::min(all, 0xffffffff / cycles(port)) : all;
    }
    // From port 8 on, the register of the sum is that of another port's count.
    uint64_t latency(uint32_t port, uint32_t channel) const {
        const uint64_t count = requests(port, channel);
        const uint64_t sum = port < 8 ? count * cycles(port) : requests(port - 8, channel);
        const uint64_t mean = count != 0 ? sum / count : 0;
        return mean * 1'000'000 / clock_ / 1000;
    }

    uint32_t time_ms_;
    uint32_t channels_;
    uint32_t clock_;
    std::vector<passage> ports_;
};

}  // namespace

std::uint32_t emi_port_behind(const devicetree::flat_tree &tree, uint32_t common, uint32_t output) {
    return tree.by_name(number_of("smi_common", common))->u32_array("quorix,emi-port").at(output);
}

port_oracle::port_oracle(const devicetree::flat_tree &tree, const soc::scenario &traffic,
                         uint32_t time_ms)
    : tree_(tree), traffic_(traffic), time_ms_(time_ms) {}

lines port_oracle::larb_report(uint32_t module) const {
    const devicetree::node &node = *modules_of(tree_).at(module);
    const route_view chip(tree_, traffic_);
    const std::vector<larb_ports> larbs = larbs_of(node);
    const std::string name = *node.string("module-name");
    uint64_t data = 0;
    uint64_t bus = 0;

    if (larbs.empty()) {
        return {name + " not support larb monitor"};
    }
    lines report = {"Module : " + name};
    for (const larb_ports &larb : larbs) {
        const std::string block = number_of("larb", larb.larb);
        const auto [common, input] = chip.attachment(larb.larb);
        report.push_back(number_of("SMI_LARB ", larb.larb));
        for (const uint32_t port : larb.ports) {
            const passage passing = chip.at_larb(larb.larb, port);
            const uint64_t read = shown(passing.read(), time_ms_);
            const uint64_t write = shown(passing.write(), time_ms_);
            const sample monitor =
                sample_of(passing, read + write != 0 && chip.is_watched(common, input));
            report.push_back(row(
                "%u %x %u %u %llu %llu %llu %llu %llu %llu %llu", port,
                chip.preset(block, 0x200 + 4 * port) & 0xff, chip.preset(block, 0x78) >> port & 1,
                chip.preset(block, 0x7c) >> port & 1, llu(read), llu(write),
                llu(chip.period_shown(passing.longest_period(true, true))), llu(monitor.burst),
                llu(monitor.efficiency), llu(monitor.ultra), llu(monitor.preultra)));
            data += read + write;
            bus += bus_of(read, monitor.efficiency) + bus_of(write, monitor.efficiency);
        }
    }
    report.push_back(row("%llu %llu %llu", llu(data), llu(percent_of(data, bus)), llu(bus)));
    return report;
}

std::uint64_t port_oracle::larb_wait_us(uint32_t module) const {
    const route_view chip(tree_, traffic_);
    uint64_t us = 0;

    for (const larb_ports &larb : larbs_of(*modules_of(tree_).at(module))) {
        const auto [common, input] = chip.attachment(larb.larb);
        for (const uint32_t port : larb.ports) {
            const passage passing = chip.at_larb(larb.larb, port);
            us += 3 * time_ms_ * us_per_ms;
            if (chip.has_monitor(common, input)) {
                us += poll_us *
                      directions(shown(passing.read(), time_ms_), shown(passing.write(), time_ms_));
            }
        }
    }
    return us;
}

lines port_oracle::common_report() const {
    const route_view chip(tree_, traffic_);
    lines report;

    for (uint32_t common = 0; common < chip.setting("emi_arch", "smi_common_cnt"); common++) {
        lines inputs;
        lines outputs;
        const auto figures = [&](const passage &passing) {
            return row("%llu %llu %llu %llu", llu(shown(passing.read(), time_ms_)),
                       llu(shown(passing.write(), time_ms_)),
                       llu(chip.period_shown(passing.longest_period(true, false))),
                       llu(chip.period_shown(passing.longest_period(false, true))));
        };
        const auto is_idle = [&](const passage &passing) {
            return shown(passing.read(), time_ms_) + shown(passing.write(), time_ms_) == 0;
        };
        for (uint32_t input = 0; input < chip.ports_of_common(common, "input-port-nr"); input++) {
            const passage passing = chip.at_input(common, input);
            const sample monitor = sample_of(passing, chip.is_watched(common, input));
            if (!is_idle(passing)) {
                inputs.push_back(number_of("In ", input) + " " + figures(passing) +
                                 row(" %llu %llu %llu %llu", llu(monitor.burst),
                                     llu(monitor.efficiency), llu(monitor.ultra),
                                     llu(monitor.preultra)));
            }
        }
        for (uint32_t output = 0; output < chip.ports_of_common(common, "output-port-nr");
             output++) {
            const passage passing = chip.at_output(common, output);
            if (!is_idle(passing)) {
                outputs.push_back(number_of("Out ", output) + " " + figures(passing) + " - - - -");
            }
        }
        if (!outputs.empty()) {
            report.push_back(number_of("SMI_COMMON ", common));
            report.insert(report.end(), inputs.begin(), inputs.end());
            report.insert(report.end(), outputs.begin(), outputs.end());
        }
    }
    return report;
}

std::uint64_t port_oracle::common_wait_us() const {
    const route_view chip(tree_, traffic_);
    uint64_t us = 0;

    for (uint32_t common = 0; common < chip.setting("emi_arch", "smi_common_cnt"); common++) {
        const uint64_t inputs = chip.ports_of_common(common, "input-port-nr");
        us += 2 * (inputs + chip.ports_of_common(common, "output-port-nr")) * time_ms_ * us_per_ms;
        for (uint32_t input = 0; input < inputs; input++) {
            const passage passing = chip.at_input(common, input);
            const bool active =
                shown(passing.read(), time_ms_) + shown(passing.write(), time_ms_) != 0;
            us += active && chip.has_monitor(common, input) ? poll_us : 0;
        }
    }
    return us;
}

lines port_oracle::emi_total() const {
    const emi_view emi(tree_, traffic_, time_ms_);
    lines report = {"CENTRAL_EMI ALL"};
    uint64_t data = 0;
    uint64_t bus = 0;

    for (uint32_t port = 0; port < emi.ports(); port++) {
        const emi_row all = emi.of_all(port);
        report.push_back(std::to_string(port) + " " + all.text());
        data += all.data;
        bus += all.bus();
    }
    report.push_back(
        row("ALL %llu %llu - %llu -", llu(data), llu(percent_of(data, bus)), llu(bus)));
    return report;
}

lines port_oracle::emi_detail() const {
    const emi_view emi(tree_, traffic_, time_ms_);
    lines report;

    for (uint32_t channel = 0; channel < emi.channels(); channel++) {
        report.push_back(number_of("CENTRAL_EMI ", channel));
        for (uint32_t port = 0; port < emi.ports(); port++) {
            report.push_back(std::to_string(port) + " " + emi.settings(port, channel) + " " +
                             emi.of_channel(port, channel).text());
        }
    }
    return report;
}

// Every channel after the first finds each monitor reset, and polls it to the limit.
std::uint64_t port_oracle::emi_wait_us() const {
    const emi_view emi(tree_, traffic_, time_ms_);
    const uint32_t clock = emi.setting("dram_config", "emi_clock");
    const uint64_t limit = clock == 432 || clock == 456 ? 500 : 50;
    const uint64_t groups = (emi.ports() + 5) / 6;
    const uint64_t reset_reads = emi.monitors_at_emi() ? emi.ports() * (emi.channels() - 1) : 0;

    return groups * time_ms_ * us_per_ms + reset_reads * limit * poll_us;
}

std::uint64_t port_oracle::bus_percent(uint32_t dram_clock) const {
    const emi_view emi(tree_, traffic_, time_ms_);
    const uint64_t total = uint64_t{emi.setting("dram_config", "bus_width")} / 8 * dram_clock;
    uint64_t bus = 0;

    for (uint32_t port = 0; port < emi.ports(); port++) {
        bus += emi.of_all(port).bus();
    }
    return std::min<uint64_t>(percent_of(bus, total), 100);
}

}  // namespace tests
