// SPDX-License-Identifier: GPL-2.0-only
// Every report of every chip against the traffic that was put in.
#include "tests/oracle.h"
#include "tests/pattern.h"
#include "tests/random_traffic.h"
#include "tests/report_text.h"

namespace tests {

namespace {

void expect_ports(rig &r, const oracle &expected, std::uint32_t time_ms) {
    const std::string time = std::to_string(time_ms) + "\n";

    for (std::uint32_t id = 0; id < modules_of(r.machine().tree()).size(); id++) {
        SCOPED_TRACE("bw_larb of module " + std::to_string(id));
        r.write("bw_larb", std::to_string(id) + " " + time);
        expect_rows(r.read("bw_larb"), expected.larb_report(id), 3);
    }
    r.write("bw_scomm", time);
    expect_rows(r.read("bw_scomm"), expected.common_report());
}

void expect_emi(rig &r, const oracle &expected, std::uint32_t time_ms) {
    r.write("bw_emi", std::to_string(time_ms) + "\n");
    r.write("bw_emi_detail", "0\n");
    expect_rows(r.read("bw_emi"), expected.emi_total());
    r.write("bw_emi_detail", "1\n");
    expect_rows(r.read("bw_emi"), expected.emi_detail(), 5);
    EXPECT_EQ(r.read("bw_bus"), std::to_string(expected.bus_percent()) + "%\n");
}

void expect_all(rig &r, const soc::scenario &traffic, std::uint32_t time_ms) {
    const oracle expected(r.machine().tree(), traffic, time_ms);

    r.chip().set_scenario(traffic);
    enable_all(r, time_ms);
    EXPECT_EQ(table_rows(r.read("bw_total")), expected.total());
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

TEST_P(reports, agree_with_every_scenario_that_comes_with_the_chip) {
    const std::pair<const char *, const char *> verdicts[] = {
        {"idle", "SAFE"}, {"playback", "SAFE"}, {"graphics", "WARNING"}, {"overload", "DANGER"}};

    for (const auto &[name, verdict] : verdicts) {
        SCOPED_TRACE(name);
        rig r(GetParam());
        const soc::scenario traffic = sim::find_scenario(GetParam(), name);
        r.loaded().chip().set_scenario(traffic);
        const std::string report = r.read("bw_total");
        EXPECT_TRUE(contains(report, std::string("Status: .* ") + verdict + " .*\n.*\n$"))
            << report;
        expect_all(r, traffic, 16);
    }
}

}  // namespace tests
