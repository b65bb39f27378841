// SPDX-License-Identifier: GPL-2.0-only
// All reports of a real kernel on every chip, against the traffic that was put in.
#include <gtest/gtest.h>

#include <functional>

#include "lab/tests/chips.h"
#include "lab/tests/guest.h"
#include "lab/tests/judge.h"
#include "sim/simulator.h"
#include "tests/port_oracle.h"
#include "tests/report_text.h"

namespace lab {

using lines = std::vector<std::string>;

namespace {

// What the commands must print. The judge says what is wrong with it, or nothing.
struct expectation {
    std::string name;
    std::string commands;
    std::function<std::string(const std::string &printed)> judge;
};

std::string unless_equal(const lines &printed, const lines &expected) {
    return printed == expected ? ""
                               : testing::PrintToString(printed) + " instead of " +
                                     testing::PrintToString(expected) + "\n";
}

// A report that fills the page has no newline at its end.
std::string script_of(const std::vector<expectation> &expected) {
    std::string script;
    for (const expectation &each : expected) {
        script += "echo @@" + each.name + "\n" + each.commands + "\necho\n";
    }
    return script;
}

}  // namespace

class chip : public testing::TestWithParam<chip_facts> {
  protected:
    static constexpr std::uint32_t total_ms = 100;
    static constexpr std::uint32_t port_ms = 20;
    static inline const std::string port_time = std::to_string(port_ms);

    void add_total(std::vector<expectation> &all) const {
        const auto total = tests::expect_total(tree_, traffic_, GetParam().dram_clock, total_ms);

        all.push_back({"total", enable_all(tree_, total_ms) + "cat bw_total",
                       [this, total](const std::string &report) {
                           return objections_to_total(report, tree_, total, quiet_machine_percent);
                       }});
    }

    void add_larbs_and_commons(std::vector<expectation> &all) const {
        const std::size_t modules = tests::sources_by_module(tree_).size();

        for (std::uint32_t id = 0; id < modules; ++id) {
            const std::string number = std::to_string(id);
            all.push_back({"larbs" + number,
                           "echo " + number + " " + port_time + " >bw_larb; cat bw_larb",
                           [this, id](const std::string &report) {
                               return objections_to_ports(report, oracle_.larb_report(id));
                           }});
        }
        all.push_back({"commons", "echo " + port_time + " >bw_scomm; cat bw_scomm",
                       [this](const std::string &report) {
                           return objections_to_ports(report, oracle_.common_report());
                       }});
    }

    // The chip itself times the EMI's monitors.
    void add_emi(std::vector<expectation> &all) const {
        const std::string usage = std::to_string(oracle_.bus_percent(GetParam().dram_clock)) + "%";

        all.push_back({"emi", "echo " + port_time + " >bw_emi; cat bw_emi",
                       [this](const std::string &report) {
                           return unless_equal(tests::port_rows(report), oracle_.emi_total());
                       }});
        all.push_back(
            {"detail", "echo 1 >bw_emi_detail; cat bw_emi", [this](const std::string &report) {
                 return unless_equal(tests::port_rows(report), oracle_.emi_detail());
             }});
        all.push_back({"bus", "cat bw_bus", [usage](const std::string &report) {
                           return unless_equal(lines_of(report), {usage, ""});
                       }});
    }

    void add_monitors(std::vector<expectation> &all) const {
        const std::string count = std::to_string(monitors_of(tree_).size());

        all.push_back({"bound", "ls -d ../ovk-effi/*.effi_monitor* | wc -l",
                       [count](const std::string &printed) {
                           return unless_equal(lines_of(printed), {count, ""});
                       }});
    }

    // Carries them out in one boot, keeps those that are not met and returns why.
    std::string try_out(std::vector<expectation> &expected) const {
        const boot_files files;
        const ending guest = run(files, {"--soc", GetParam().soc}, script_of(expected));
        const soc::register_file registers(files.path("registers"));
        std::string objections;

        EXPECT_EQ(guest.status, 0) << guest.err;
        for (const devicetree::node *monitor : monitors_of(tree_)) {
            EXPECT_EQ(row_of(registers, *monitor), GetParam().effi_row) << monitor->name;
        }
        std::erase_if(expected, [&](const expectation &each) {
            const std::string objection = each.judge(guest.section(each.name));
            objections += objection.empty() ? "" : each.name + ": " + objection;
            return objection.empty();
        });
        return objections;
    }

    const devicetree::flat_tree tree_ = sim::chip_tree(GetParam().soc);
    const soc::scenario traffic_ = sim::find_scenario(GetParam().soc, "playback");
    const tests::port_oracle oracle_{tree_, traffic_, port_ms};
};

INSTANTIATE_TEST_SUITE_P(kernel, chip, testing::ValuesIn(chips()),
                         [](const auto &each) { return std::string(each.param.soc); });

// Further attempts are for a guest that was woken up late, which shows in single reports.
TEST_P(chip, has_its_monitors_configured_and_all_reports_show_the_traffic_put_in) {
    constexpr int attempts = 4;
    std::vector<expectation> expected;
    std::string objections;

    add_monitors(expected);
    add_total(expected);
    add_larbs_and_commons(expected);
    add_emi(expected);
    for (int attempt = 0; attempt < attempts && !expected.empty(); ++attempt) {
        objections = try_out(expected);
    }
    EXPECT_EQ(objections, "");
}

}  // namespace lab
