// SPDX-License-Identifier: GPL-2.0-only
// The port reports against the traffic that was put in.
#include "tests/chip_view.h"
#include "tests/port_oracle.h"
#include "tests/random_traffic.h"
#include "tests/report_text.h"
#include "tests/rig.h"

namespace tests {

namespace {

constexpr std::size_t page_text = 4095;

// Reads and expects that this takes so long, in microseconds.
std::string timed_read(rig &r, const std::string &attribute, std::uint64_t wait_us) {
    const std::uint64_t before = r.machine().waited_us();
    const std::string text = r.read(attribute);

    EXPECT_EQ(r.machine().waited_us() - before, wait_us) << attribute;
    return text;
}

std::string read_larbs(rig &r, std::size_t module, std::uint32_t time_ms) {
    r.write("bw_larb", std::to_string(module) + " " + std::to_string(time_ms) + "\n");
    return r.read("bw_larb");
}

void set_times(rig &r, std::uint32_t time_ms) {
    r.write("bw_scomm", std::to_string(time_ms) + "\n");
    r.write("bw_emi", std::to_string(time_ms) + "\n");
}

void expect_larbs(rig &r, const port_oracle &oracle, std::uint32_t time_ms) {
    for (std::uint32_t id = 0; id < modules_of(r.machine().tree()).size(); id++) {
        SCOPED_TRACE("module " + std::to_string(id));
        r.write("bw_larb", std::to_string(id) + " " + std::to_string(time_ms) + "\n");
        EXPECT_EQ(port_rows(timed_read(r, "bw_larb", oracle.larb_wait_us(id))),
                  oracle.larb_report(id));
    }
}

// A report that fills the page says what has room there.
void expect_commons(rig &r, const port_oracle &oracle) {
    const std::string report = timed_read(r, "bw_scomm", oracle.common_wait_us());
    lines expected = oracle.common_report();
    lines rows = port_rows(report);

    if (report.size() == page_text) {
        rows.pop_back();
        ASSERT_GT(expected.size(), rows.size());
        expected.resize(rows.size());
    }
    EXPECT_EQ(rows, expected);
}

void expect_emi(rig &r, const port_oracle &oracle, std::uint32_t dram_clock) {
    r.write("bw_emi_detail", "0\n");
    EXPECT_EQ(port_rows(timed_read(r, "bw_emi", oracle.emi_wait_us())), oracle.emi_total());
    r.write("bw_emi_detail", "1\n");
    EXPECT_EQ(port_rows(timed_read(r, "bw_emi", oracle.emi_wait_us())), oracle.emi_detail());
    EXPECT_EQ(timed_read(r, "bw_bus", oracle.emi_wait_us()),
              std::to_string(oracle.bus_percent(dram_clock)) + "%\n");
}

// Monitors at the EMI ports tell `bw_bus` what the modules cost, as their sum does. Without them it
// counts all data at 70 %, as the reference does, which is the last module but one.
void expect_bus_as_in_total(rig &r, std::uint32_t dram_clock) {
    const devicetree::flat_tree &tree = r.machine().tree();
    const bool monitors = tree.by_name("emi_arch")->has("emi-effi-monitor");
    const std::uint64_t total = *tree.by_name("dram_config")->u32("bus_width") / 8 * dram_clock;
    r.write("bw_total", std::to_string(modules_of(tree).size() - 2) + " 1 16 0\n");
    const auto rows = table_rows(r.read("bw_total"));
    const expected_row &row = rows.at(rows.size() - (monitors ? 1 : 2));
    const std::uint64_t bus = std::stoull(r.read("bw_bus"));

    EXPECT_EQ(row.name, monitors ? "SUM" : "REF_EMI");
    EXPECT_NEAR(bus, std::min<std::uint64_t>(row.bus * 100 / total, 100), 1);
}

// The part of the traffic that passes the EMI alone, or an SMI common of even or odd number: one
// report of the largest chip has no room for all of it.
soc::scenario half_of(const devicetree::flat_tree &tree, const soc::scenario &traffic,
                      std::uint32_t half) {
    const chip_view chip(tree, traffic);
    soc::scenario part = traffic;

    std::erase_if(part.sources, [&](const soc::source &source) {
        const std::uint32_t common = source.kind == soc::source_kind::larb_port
                                         ? chip.attachment(source.block).first
                                         : source.block;
        return source.kind != soc::source_kind::emi_port && common % 2 != half;
    });
    return part;
}

std::vector<soc::source> all_sources(const devicetree::flat_tree &tree) {
    std::vector<soc::source> all;

    for (const auto &[module, sources] : sources_by_module(tree)) {
        all.insert(all.end(), sources.begin(), sources.end());
    }
    return all;
}

using figures = std::map<std::string, std::uint64_t>;

// A sum of figures, and how many whole MB/s they may have lost to rounding.
struct rounded_sum {
    std::uint64_t sum = 0;
    std::uint64_t loss = 0;

    void add(std::uint64_t figure) {
        sum += figure;
        loss += 2;
    }
};

void expect_same(const rounded_sum &lower, const rounded_sum &upper, bool exact) {
    const std::uint64_t loss = exact ? 0 : std::max(lower.loss, upper.loss);

    EXPECT_LE(lower.sum, upper.sum + loss);
    EXPECT_LE(upper.sum, lower.sum + loss);
}

// All figures of one chip under one traffic.
struct all_figures {
    std::vector<figures> larbs;  // by module
    figures commons;
    figures emi;
    std::vector<expected_row> modules;
};

all_figures read_all(rig &r, std::uint32_t time_ms) {
    all_figures all;

    set_times(r, time_ms);
    enable_all(r, time_ms);
    for (std::size_t id = 0; id < modules_of(r.machine().tree()).size(); id++) {
        all.larbs.push_back(port_data(read_larbs(r, id, time_ms)));
    }
    all.commons = port_data(r.read("bw_scomm"));
    all.emi = port_data(r.read("bw_emi"));
    all.modules = table_rows(r.read("bw_total"));
    return all;
}

std::uint64_t figure(const figures &all, const std::string &place) {
    const auto found = all.find(place);

    return found != all.end() ? found->second : 0;
}

std::string place_of(const char *kind, std::uint32_t block, std::uint32_t port) {
    return number_of(kind, block) + ":" + std::to_string(port);
}

void expect_modules_add_up(const devicetree::flat_tree &tree, const all_figures &all, bool exact) {
    const auto modules = modules_of(tree);

    for (std::size_t id = 0; id < modules.size(); id++) {
        const std::string name = *modules[id]->string("module-name");
        const std::vector<port_use> uses = ports_of(*modules[id]);
        SCOPED_TRACE(name);
        rounded_sum ports;
        for (const port_use &use : uses) {
            if (use.larb && name != "APU") {
                ports.add(figure(all.larbs[id], place_of("larb", use.block, use.port)));
            } else if (!use.larb) {
                ports.add(figure(all.commons, place_of("in", use.block, use.port)));
            }
        }
        if (name == "CPU" || name == "GPU") {
            ports.add(name == "CPU" ? figure(all.emi, "emi:0") + figure(all.emi, "emi:1")
                                    : figure(all.emi, "emi:7"));
        }
        if (name != "SUM" && name != "REF_EMI") {
            expect_same(ports, {all.modules.at(id).data, 1}, exact);
        }
    }
}

// `direct` are the sources that enter at SMI commons and at the EMI.
void expect_levels_add_up(const devicetree::flat_tree &tree, const all_figures &all, bool exact) {
    std::map<std::string, rounded_sum> into;   // SMI common inputs, from larbs and masters
    std::map<std::uint32_t, rounded_sum> emi;  // EMI ports, from outputs and masters

    for (const auto &node : tree.nodes()) {
        if (!node->name.starts_with("larb")) {
            continue;
        }
        const std::uint32_t larb = static_cast<std::uint32_t>(std::stoul(node->name.substr(4)));
        const auto [common, input] = chip_view(tree, {}).attachment(larb);
        for (const figures &module : all.larbs) {
            for (const auto &[place, data] : module) {
                if (place.starts_with(node->name + ":")) {
                    into[place_of("in", common, input)].add(data);
                }
            }
        }
    }
    for (const auto &[place, sum] : into) {
        SCOPED_TRACE(place);
        expect_same(sum, {figure(all.commons, place), 2}, exact);
    }
    for (const std::uint32_t port : {0u, 1u, 7u}) {
        emi[port].add(figure(all.emi, "emi:" + std::to_string(port)));
    }
    for (std::uint32_t common = 0; common < *tree.by_name("emi_arch")->u32("smi_common_cnt");
         common++) {
        rounded_sum inputs;
        rounded_sum outputs;
        for (std::uint32_t port = 0; port < 8; port++) {
            inputs.add(figure(all.commons, place_of("in", common, port)));
        }
        const devicetree::node *node = tree.by_name(number_of("smi_common", common));
        for (std::uint32_t port = 0; port < *node->u32("output-port-nr"); port++) {
            const std::uint64_t data = figure(all.commons, place_of("out", common, port));
            outputs.add(data);
            emi[emi_port_behind(tree, common, port)].add(data);
        }
        SCOPED_TRACE(node->name);
        expect_same(inputs, outputs, exact);
    }
    for (const auto &[port, sum] : emi) {
        SCOPED_TRACE("EMI port " + std::to_string(port));
        expect_same(sum, {figure(all.emi, "emi:" + std::to_string(port)), 2}, exact);
    }
}

lines active(const figures &all) {
    lines places;

    for (const auto &[place, data] : all) {
        if (data != 0) {
            places.push_back(place);
        }
    }
    return places;
}

}  // namespace

class port_reports : public testing::TestWithParam<chip_facts> {};

INSTANTIATE_TEST_SUITE_P(chips, port_reports, testing::ValuesIn(chips),
                         [](const auto &chip) { return std::string(chip.param.soc); });

TEST_P(port_reports, agree_to_the_digit_and_wait_to_the_microsecond_under_random_traffic) {
    rig r(GetParam().soc);
    const devicetree::flat_tree &tree = r.loaded().machine().tree();

    for (unsigned seed = 1; seed <= 13; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random_traffic random(seed);
        soc::scenario traffic = random.scenario(tree);
        random.add_settings(tree, traffic);
        const std::uint32_t time = 1 + random.up_to(40);
        const port_oracle oracle(tree, traffic, time);
        set_times(r, time);
        r.set_scenario(traffic);
        expect_larbs(r, oracle, time);
        expect_emi(r, oracle, GetParam().dram_clock);
        for (const std::uint32_t half : {0u, 1u}) {
            const soc::scenario part = half_of(tree, traffic, half);
            r.set_scenario(part);
            expect_commons(r, port_oracle(tree, part, time));
        }
    }
}

TEST_P(port_reports, agree_with_every_scenario_that_comes_with_the_chip) {
    for (const char *name : {"idle", "playback", "graphics", "overload"}) {
        SCOPED_TRACE(name);
        rig r(GetParam().soc);
        const soc::scenario traffic = sim::find_scenario(GetParam().soc, name);
        r.set_scenario(traffic);
        const port_oracle oracle(r.loaded().machine().tree(), traffic, 16);
        expect_larbs(r, oracle, 16);
        expect_emi(r, oracle, GetParam().dram_clock);
        expect_commons(r, oracle);
        expect_bus_as_in_total(r, GetParam().dram_clock);
    }
}

// In 16 ms a MB/s is a whole number of every counter's units, so nothing is lost to rounding.
TEST_P(port_reports, add_up_from_larbs_through_commons_to_the_EMI_and_to_the_total_report) {
    rig r(GetParam().soc);
    const devicetree::flat_tree &tree = r.loaded().machine().tree();

    for (const std::uint32_t time : {16u, 7u}) {
        for (const std::uint32_t half : {0u, 1u}) {
            SCOPED_TRACE(std::to_string(time) + " ms, half " + std::to_string(half));
            random_traffic random(100 + time);
            r.set_scenario(half_of(tree, random.scenario(tree), half));
            const all_figures all = read_all(r, time);
            expect_modules_add_up(tree, all, time == 16);
            expect_levels_add_up(tree, all, time == 16);
        }
    }
}

TEST_P(port_reports, show_a_source_at_its_own_port_and_on_its_way_only) {
    rig r(GetParam().soc);
    const devicetree::flat_tree &tree = r.loaded().machine().tree();
    const auto modules = modules_of(tree);
    set_times(r, 1);

    for (soc::source source : all_sources(tree)) {
        const bool at_larb = source.kind == soc::source_kind::larb_port;
        const bool at_emi = source.kind == soc::source_kind::emi_port;
        soc::scenario traffic;
        source.traffic = {.read = 300, .write = 200, .efficiency = 50};
        traffic.sources = {source};
        r.set_scenario(traffic);

        const std::string larb = at_larb ? place_of("larb", source.block, source.port) : "none";
        SCOPED_TRACE(at_larb ? larb : place_of(at_emi ? "emi" : "in", source.block, source.port));
        for (std::size_t id = 0; id < modules.size(); id++) {
            const figures ports = port_data(read_larbs(r, id, 1));
            EXPECT_EQ(active(ports), ports.contains(larb) ? lines{larb} : lines{}) << id;
        }
        const auto [common, input] = at_larb ? chip_view(tree, traffic).attachment(source.block)
                                             : std::pair{source.block, source.port};
        EXPECT_EQ(
            active(port_data(r.read("bw_scomm"))),
            at_emi ? lines{} : (lines{place_of("in", common, input), place_of("out", common, 0)}));
        const std::uint32_t emi = at_emi ? source.port : emi_port_behind(tree, common, 0);
        EXPECT_EQ(active(port_data(r.read("bw_emi"))), lines{"emi:" + std::to_string(emi)});
    }
}

// Three channels read the monitors of twelve ports one after another.
TEST(port_report, of_the_EMI_divides_one_channel_s_efficiency_by_all_channels) {
    rig r(sim::chip_tree("zt440").with_property("/emi_arch", "emi-effi-monitor", ""));
    const devicetree::flat_tree &tree = r.loaded().machine().tree();
    random_traffic random(7);
    soc::scenario traffic = random.scenario(tree);
    random.add_settings(tree, traffic);

    r.set_scenario(traffic);
    set_times(r, 5);
    expect_emi(r, port_oracle(tree, traffic, 5), 3200);
}

}  // namespace tests
