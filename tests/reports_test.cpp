// SPDX-License-Identifier: GPL-2.0-only
// Every report of every chip against the traffic that was put in.
#include "tests/expect_rows.h"
#include "tests/oracle.h"
#include "tests/pattern.h"
#include "tests/random_traffic.h"
#include "tests/rig.h"

namespace tests {

namespace {

bool has_monitors_at_emi(rig &r) {
    return r.machine().tree().by_name("emi_arch")->has("emi-effi-monitor");
}

// The line of the simple total report for a part of the peak.
std::string usage_line(const char *label, std::int64_t part, std::int64_t peak) {
    char text[64];

    std::snprintf(text, sizeof(text), "%-10s: %6lld MB/s (%3lld%%)\n", label,
                  static_cast<long long>(part), static_cast<long long>(part * 100 / peak));
    return text;
}

void expect_total(rig &r, const oracle &expected, std::uint32_t time_ms) {
    const auto peak = static_cast<std::int64_t>(expected.peak());
    const auto bus = static_cast<std::int64_t>(expected.total().back().bus);

    enable_all(r, time_ms);
    r.write("simple_mon", "0\n");
    EXPECT_EQ(table_rows(r.read("bw_total")), expected.total());
    r.write("simple_mon", "1\n");
    const std::string simple = plain(r.read("bw_total"));
    const std::string usage = usage_line("Total", peak, peak) + usage_line("Useage", bus, peak) +
                              usage_line("Slack", peak - bus, peak);
    EXPECT_NE(simple.find(usage), simple.npos) << simple << "\nexpected:\n" << usage;
}

void expect_ports(rig &r, const oracle &expected, std::uint32_t time_ms) {
    const std::string time = std::to_string(time_ms) + "\n";

    for (std::uint32_t id = 0; id < modules_of(r.machine().tree()).size(); id++) {
        SCOPED_TRACE("bw_larb of module " + std::to_string(id));
        r.write("bw_larb", std::to_string(id) + " " + time);
        expect_rows(r.read("bw_larb"), expected.larb_report(id));
    }
    r.write("bw_scomm", time);
    expect_rows(r.read("bw_scomm"), expected.common_report());
}

void expect_emi(rig &r, const oracle &expected, std::uint32_t time_ms) {
    r.write("bw_emi", std::to_string(time_ms) + "\n");
    r.write("bw_emi_detail", "0\n");
    expect_rows(r.read("bw_emi"), expected.emi_total());
    r.write("bw_emi_detail", "1\n");
    expect_rows(r.read("bw_emi"), expected.emi_detail());
    EXPECT_EQ(r.read("bw_bus"), std::to_string(expected.bus_percent()) + "%\n");
}

void expect_all(rig &r, const soc::scenario &traffic, std::uint32_t time_ms) {
    const oracle expected(r.machine().tree(), traffic, time_ms);

    r.set_scenario(traffic);
    expect_total(r, expected, time_ms);
    expect_ports(r, expected, time_ms);
    expect_emi(r, expected, time_ms);
}

}  // namespace

class reports : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(chips, reports, testing::ValuesIn(sim::chip_names()),
                         [](const auto &chip) { return chip.param; });

TEST_P(reports, agree_to_the_digit_with_random_traffic) {
    rig r(GetParam());
    r.loaded();

    for (unsigned seed = 1; seed <= 16; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random_traffic random(seed);
        const std::uint32_t time = 1 + random.up_to(40);
        expect_all(r, random.scenario(r.machine().tree()), time);
    }
}

// Monitors at the EMI ports tell `bw_bus` what the modules cost, as their sum does. Without them it
// counts all data at 70 %, as the reference does.
TEST_P(reports, agree_with_every_scenario_that_comes_with_the_chip_and_with_each_other) {
    const std::pair<const char *, const char *> verdicts[] = {
        {"idle", "SAFE"}, {"playback", "SAFE"}, {"graphics", "WARNING"}, {"overload", "DANGER"}};

    for (const auto &[name, verdict] : verdicts) {
        SCOPED_TRACE(name);
        rig r(GetParam());
        const soc::scenario traffic = sim::find_scenario(GetParam(), name);
        r.loaded().set_scenario(traffic);
        const std::string report = r.read("bw_total");
        EXPECT_TRUE(contains(report, std::string("Status: .* ") + verdict + " .*\n.*\n$"))
            << report;
        expect_all(r, traffic, 16);
        r.write("simple_mon", "0\n");
        const auto rows = table_rows(r.read("bw_total"));
        const expected_row &same = rows.at(rows.size() - (has_monitors_at_emi(r) ? 1 : 2));
        const std::uint64_t peak = oracle(r.machine().tree(), traffic, 16).peak();
        EXPECT_NEAR(std::stod(r.read("bw_bus")), std::min(same.bus * 100 / peak, 100ul), 1)
            << same.name;
    }
}

// No chip that comes with the project has monitors there and several channels.
TEST(report, of_the_EMI_divides_by_all_channels_what_one_monitor_tells_of_a_port) {
    for (const std::string &name : sim::chip_names()) {
        SCOPED_TRACE(name);
        rig r(sim::chip_tree(name).with_property("/emi_arch", "emi-effi-monitor", ""));
        const devicetree::flat_tree &tree = r.loaded().machine().tree();
        if (*tree.by_name("emi_arch")->u32("emi_cnt") > 1) {
            const soc::scenario traffic = random_traffic(7).scenario(tree);
            r.set_scenario(traffic);
            expect_emi(r, oracle(tree, traffic, 5), 5);
        }
    }
}

// All larb ports, SMI common ports in both directions, and the DRAM controller for three modules.
TEST_P(reports, take_the_time_of_their_windows_on_an_idle_chip) {
    constexpr std::uint64_t time_ms = 5;
    constexpr std::uint64_t poll_us = 999;
    rig r(GetParam());
    r.loaded();
    std::uint64_t windows = 3;

    for (const devicetree::node *module : modules_of(r.machine().tree())) {
        for (const port_group &group : port_groups_of(*module)) {
            if (!group.larb) {
                windows += 2 * group.ports.size();
            } else if (module->string("module-name") != "APU") {
                windows += (group.ports.size() + 3) / 4;
            }
        }
    }
    enable_all(r, time_ms);
    r.read("bw_total");
    EXPECT_EQ(r.machine().waited_us(),
              windows * time_ms * 1000 + (has_monitors_at_emi(r) ? 3 * poll_us : 0));
}

}  // namespace tests
