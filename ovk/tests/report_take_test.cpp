// SPDX-License-Identifier: GPL-2.0-only
// What the kernel log has against a report, and what a report has to move and puts back.
#include <sys/stat.h>
#include <nlohmann/json.hpp>

#include "ovk/report/render.h"
#include "ovk/report/take.h"
#include "ovk/tests/chip_source.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"
#include "tests/report_text.h"

namespace ovk::tests {

namespace {

const std::string time_out = "[OVK_BW]EMI monitor time out";

// Cut: all modules take part, and many have bars.
class full_chip : public chip_source {
  public:
    full_chip() : chip_source("zt440", "overload") { ::tests::enable_all(rig(), 1); }
};

void forget(json &module) {
    for (auto &[member, value] : module.items()) {
        if (member != "id" && member != "name" && member != "domain") {
            value = nullptr;
        }
    }
}

lines names_in(const total_report &report) {
    lines names;
    for (const module_figures &each : report.modules) {
        names.push_back(*each.name);
    }
    return names;
}

// What a report can move.
lines moved(chip_source &chip) {
    lines all = chip.selections();
    all.push_back(parse_total(take_reading(chip, "bw_total")).view.value_or("none"));
    return all;
}

}  // namespace

TEST(time_out, leaves_the_modules_that_may_have_it_and_what_counts_them_in_unknown) {
    chip_source chip("zt410", "overload");
    json expected = json_of(parse_total(take_total(chip)));
    ASSERT_TRUE(chip.chip().hang("emi_cen0"));
    expected["complete"] = false;
    expected["reason"] = "kernel log: " + time_out;
    expected["status"] = nullptr;
    for (const char *usage : {"bus_mbps", "percent", "slack_mbps", "slack_percent"}) {
        expected["usage"][usage] = nullptr;
    }
    forget(expected["sum"]);
    for (json &module : expected["modules"]) {
        if (module["name"] == "CPU" || module["name"] == "GPU" || module["name"] == "REF_EMI") {
            forget(module);
        }
    }
    const json found = json_of(parse_total(take_total(chip)));
    for (const char *other : {"start_ns", "end_ns", "bars"}) {
        expected[other] = found[other];
    }
    EXPECT_EQ(found, expected);
}

// zt440 has ports 0 to 11, in two groups. The last group's run tells all latencies.
TEST(time_out, leaves_the_group_of_EMI_ports_unknown_that_may_have_it) {
    for (const std::uint32_t busy : {7u, 0u}) {
        chip_source chip("zt440");
        chip.rig().run({{soc::source_kind::emi_port, 0, busy, {.read = 900}}});
        reading taken = take_reading(chip, "bw_emi");
        taken.log = lines{time_out};
        const emi_report report = parse_emi(taken);
        const auto &ports = report.channels.at(0).ports;
        ASSERT_EQ(ports.size(), 12u);
        for (const emi_port_figures &port : ports) {
            const bool known = *port.port / 6 == busy / 6;
            EXPECT_EQ(port.data_mbps.has_value(), known) << *port.port;
            EXPECT_EQ(port.bus_mbps.has_value(), known) << *port.port;
            EXPECT_EQ(port.latency_ns.has_value(), known && busy == 7 && *port.port < 8);
        }
        EXPECT_EQ(ports[busy].data_mbps, 900u);
        EXPECT_EQ(report.sum.data_mbps, std::nullopt);
        EXPECT_FALSE(report.head.complete);
    }
}

TEST(time_out, is_no_idle_bus) {
    chip_source chip("zt410");
    ASSERT_TRUE(chip.chip().hang("emi_cen0"));
    const bus_report report = parse_bus(take_bus(chip));

    EXPECT_EQ(report.usage_percent, std::nullopt);
    EXPECT_EQ(report.head.reasons, lines{"time-out of the EMI monitor"});
}

TEST(missing_larb, leaves_its_ports_and_the_sums_unknown) {
    chip_source chip("zt410", "overload");
    chip.write("bw_larb", "2 16");
    chip.machine().fail_named(host::fault_kind::node, "larb1");
    const larb_report report = parse_larb(take_reading(chip, "bw_larb"));
    const total_report total = parse_total(take_reading(chip, "bw_total"));
    chip.machine().clear_faults();

    EXPECT_EQ(report.head.reasons, lines{"kernel log: [OVK_BW]Can't find SMI LARB device base!!"});
    ASSERT_EQ(report.larbs.size(), 2u);
    EXPECT_GT(report.larbs[0].ports.at(0).max_period_ns, 0u);
    EXPECT_EQ(report.larbs[1].ports.at(0).port, 0u);
    EXPECT_EQ(report.larbs[1].ports.at(0).read_mbps, std::nullopt);
    EXPECT_EQ(report.sum.data_mbps, std::nullopt);
    EXPECT_EQ(total.status, std::nullopt);
    EXPECT_EQ(total.sum.bus_mbps, std::nullopt);
}

TEST(selections, are_put_back_wherever_a_report_is_broken_off) {
    void (*const reports[])(source &) = {
        [](source &from) { parse_total(take_total(from)); },
        [](source &from) { larb_selector(from).take(2, 5); },
        [](source &from) { take_emi_detail(from); },
        [](source &from) { take_limits(from); },
    };
    full_chip chip;
    chip.write("larb_ostdl", "3 2");
    const lines before = moved(chip);

    for (const auto report : reports) {
        int broken_off = 0;
        for (int status = -1; status != 0; ++broken_off) {
            chip.before_read = [broken_off, reads = 0]() mutable {
                if (reads++ == broken_off) {
                    throw failure(exit_status::interrupted, "interrupted");
                }
            };
            status = outcome_of([&] { report(chip); }).status;
            chip.before_read = [] {};
            EXPECT_TRUE(status == 0 || status == 130) << status;
            ASSERT_EQ(moved(chip), before) << broken_off;
        }
        EXPECT_GT(broken_off, 2);
    }
}

// Attributes are pipes, whose ends wait for each other: that makes the report take its time.
TEST(selections, are_put_back_after_ctrl_c) {
    const scratch files;
    const std::string cut = full_chip().read("bw_total").text;
    const std::string report = files.path("bw_total");
    mkfifo(report.c_str(), 0600);
    mkfifo(files.path("simple_mon").c_str(), 0600);
    setenv("OVK_DIRECTORY", files.path().c_str(), 1);

    for (const std::string &source : {"sysfs:" + files.path(), std::string("exec:sh")}) {
        running_program ovk("-s " + source + " report total");
        std::ofstream(report) << cut;
        EXPECT_EQ(files.content("simple_mon"), "1") << source;
        std::ofstream second(report);
        ovk.signal(SIGINT);
        second.close();
        EXPECT_EQ(files.content("simple_mon"), "0") << source;
        EXPECT_EQ(ovk.wait(), 130) << source;
    }
    unsetenv("OVK_DIRECTORY");
}

TEST(measuring_time, of_the_total_report_leaves_alone_who_takes_part) {
    for (const std::string larbs_left_out : {"0", "1"}) {
        chip_source chip("zt410", "overload");
        chip.set("bw_total 0 0 16 " + larbs_left_out);
        chip.set("bw_total 5 0 16 " + larbs_left_out);
        const total_report before = parse_total(take_total(chip));
        set_total_time(chip, 50);
        const total_report after = parse_total(take_total(chip));
        EXPECT_GT(after.head.end_ns - after.head.start_ns,
                  2 * (before.head.end_ns - before.head.start_ns));
        EXPECT_EQ(names_in(after), names_in(before));
        EXPECT_EQ(after.bars.size(), before.bars.size());
    }
}

TEST(measuring_time, of_the_total_report_is_refused_when_the_report_does_not_show_the_rest) {
    for (const auto &[attribute, text] : {std::pair{"simple_mon", "1"}, {"bw_total", "0 1 16 1"}}) {
        chip_source chip("zt410");  // idle: modules that are left out have no bars
        chip.write(attribute, text);
        EXPECT_TRUE(ends(outcome_of([&] { set_total_time(chip, 50); }), 5, "bw_total"))
            << attribute;
    }
}

}  // namespace ovk::tests
