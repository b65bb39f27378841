// SPDX-License-Identifier: GPL-2.0-only
// The total report against the traffic that was put in.
#include <sstream>

#include "tests/oracle.h"
#include "tests/pattern.h"
#include "tests/random_traffic.h"
#include "tests/report_text.h"
#include "tests/rig.h"

namespace tests {

namespace {

std::string describe(const expected_row &row) {
    std::ostringstream text;

    text << row.name << " " << row.data << " " << row.effi << " " << row.bus << " " << row.ultra
         << " " << row.preultra;
    return text.str();
}

lines describe(const std::vector<expected_row> &rows) {
    lines text;

    for (const expected_row &row : rows) {
        text.push_back(describe(row));
    }
    return text;
}

std::string usage_line(const char *label, std::int64_t amount, std::int64_t percent) {
    char text[64];

    std::snprintf(text, sizeof(text), "%-10s: %6lld MB/s (%3lld%%)\n", label,
                  static_cast<long long>(amount), static_cast<long long>(percent));
    return text;
}

void expect_agreement(rig &r, const soc::scenario &traffic, const expected_report &expected,
                      std::uint32_t time_ms) {
    const std::uint64_t waited_before = r.machine().waited_us();
    EXPECT_EQ(describe(table_rows(r.read("bw_total"))), describe(expected.rows));
    EXPECT_EQ(r.machine().waited_us() - waited_before,
              expect_wait_us(r.machine().tree(), traffic, time_ms));
    r.write("simple_mon", "1\n");
    const std::string simple = plain(r.read("bw_total"));
    r.write("simple_mon", "0\n");
    const auto bus = static_cast<std::int64_t>(expected.rows.back().bus);
    const auto total = static_cast<std::int64_t>(expected.total);
    const std::string usage = usage_line("Total", total, 100) +
                              usage_line("Useage", bus, static_cast<std::int64_t>(expected.usage)) +
                              usage_line("Slack", expected.slack, expected.slack_percent);
    EXPECT_NE(simple.find(usage), std::string::npos) << simple << "\nexpected:\n" << usage;
}

}  // namespace

class total_report : public testing::TestWithParam<chip_facts> {};

INSTANTIATE_TEST_SUITE_P(chips, total_report, testing::ValuesIn(chips),
                         [](const auto &chip) { return std::string(chip.param.soc); });

TEST_P(total_report, agrees_to_the_digit_and_waits_to_the_microsecond_under_random_traffic) {
    rig r(GetParam().soc);
    r.loaded();

    for (unsigned seed = 1; seed <= 16; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random_traffic random(seed);
        const soc::scenario traffic = random.scenario(r.machine().tree());
        const std::uint32_t time = 1 + random.up_to(40);
        r.chip().set_scenario(traffic);
        enable_all(r, time);
        expect_agreement(r, traffic,
                         expect_total(r.machine().tree(), traffic, GetParam().dram_clock, time),
                         time);
    }
}

TEST_P(total_report, shows_each_master_in_its_own_row_only) {
    rig r(GetParam().soc);
    r.loaded();
    enable_all(r, 1);

    for (const auto &[name, sources] : sources_by_module(r.machine().tree())) {
        if (sources.empty()) {
            continue;
        }
        soc::scenario traffic;
        for (soc::source source : sources) {
            source.traffic = {.read = 300, .write = 200, .efficiency = 50};
            traffic.sources.push_back(source);
        }
        r.chip().set_scenario(traffic);
        for (const expected_row &row : table_rows(r.read("bw_total"))) {
            const bool own = row.name == name || row.name == "SUM" || row.name == "REF_EMI";
            EXPECT_EQ(row.data, own ? 500 * sources.size() : 0) << name << " in " << row.name;
        }
    }
}

TEST_P(total_report, agrees_with_every_scenario_that_comes_with_the_chip) {
    for (const auto &[name, verdict] : {std::pair{"idle", "SAFE"},
                                        {"playback", "SAFE"},
                                        {"graphics", "WARNING"},
                                        {"overload", "DANGER"}}) {
        SCOPED_TRACE(name);
        rig r(GetParam().soc);
        const soc::scenario traffic = sim::find_scenario(GetParam().soc, name);
        r.chip().set_scenario(traffic);
        r.loaded();
        EXPECT_TRUE(
            contains(r.read("bw_total"), std::string("Status: .* ") + verdict + " .*\n.*\n$"));
        enable_all(r, 16);
        expect_agreement(r, traffic,
                         expect_total(r.machine().tree(), traffic, GetParam().dram_clock, 16), 16);
    }
}

}  // namespace tests
