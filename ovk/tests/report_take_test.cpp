// SPDX-License-Identifier: GPL-2.0-only
// What the kernel log has against a report, and what a report has to move and puts back.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "ovk/base/failure.h"
#include "ovk/report/take.h"
#include "ovk/tests/model_source.h"
#include "ovk/tests/running.h"
#include "ovk/tests/scratch.h"
#include "tests/report_text.h"

namespace ovk::tests {

namespace {

using lines = std::vector<std::string>;

const std::string time_out = "[OVK_BW]EMI monitor time out";
const std::string no_larb = "[OVK_BW]Can't find SMI LARB device base!!";

// zt440 has ports 0 to 11, in two groups. With traffic at one of them.
reading emi_with_traffic_at(std::uint32_t port) {
    model_source model("zt440");
    model.chip.run({{soc::source_kind::emi_port, 0, port, {.read = 900}}});
    return take_reading(model, "bw_emi");
}

// All modules take part, and many have bars.
void cut_total_report(model_source &model) {
    model.chip.chip().set_scenario(sim::find_scenario("zt440", "overload"));
    ::tests::enable_all(model.chip, 1);
}

// What a report can move.
lines selections_of(model_source &model) {
    const auto first_of = [&](const char *attribute, std::size_t length) {
        return model.read(attribute).text.substr(0, length);
    };
    return {first_of("bw_larb", 60), first_of("larb_ostdl", 60), first_of("bw_emi", 300),
            parse_total(take_reading(model, "bw_total")).view.value_or("none")};
}

void take_larb_of_module_2(source &from) {
    larb_selector selector(from);
    selector.take(2, 5);
    selector.put_back();
}

}  // namespace

TEST(time_out, leaves_the_modules_that_may_have_it_and_what_counts_them_in_unknown) {
    model_source model("zt410");
    model.chip.chip().set_scenario(sim::find_scenario("zt410", "overload"));
    const total_report before = parse_total(take_total(model));
    ASSERT_TRUE(model.chip.chip().hang("emi_cen0"));
    const total_report report = parse_total(take_total(model));

    EXPECT_EQ(report.head.reasons, lines{"kernel log: " + time_out});
    EXPECT_FALSE(report.head.complete);
    ASSERT_EQ(report.modules.size(), before.modules.size());
    for (std::size_t i = 0; i < report.modules.size(); ++i) {
        const module_figures &each = report.modules[i];
        const bool counted_there =
            each.name == "CPU" || each.name == "GPU" || each.name == "REF_EMI";
        EXPECT_EQ(each.data_mbps, counted_there ? figure() : before.modules[i].data_mbps);
        EXPECT_EQ(each.bus_mbps.has_value(), !counted_there);
        EXPECT_EQ(each.id, before.modules[i].id);
    }
    EXPECT_EQ(report.sum.data_mbps, std::nullopt);
    EXPECT_EQ(report.usage.percent, std::nullopt);
    EXPECT_EQ(report.usage.total_mbps, before.usage.total_mbps);
    EXPECT_EQ(report.dram.clock_mtps, before.dram.clock_mtps);
    EXPECT_EQ(report.status, std::nullopt);
}

TEST(time_out, leaves_the_group_of_EMI_ports_unknown_that_may_have_it) {
    for (const std::uint32_t busy : {7u, 0u}) {
        reading taken = emi_with_traffic_at(busy);
        taken.log = lines{time_out};
        const emi_report report = parse_emi(taken);
        ASSERT_EQ(report.channels.at(0).ports.size(), 12u);
        for (const emi_port_figures &port : report.channels[0].ports) {
            const bool known = *port.port / 6 == busy / 6;
            EXPECT_EQ(port.data_mbps.has_value(), known) << *port.port;
            EXPECT_EQ(port.bus_mbps.has_value(), known) << *port.port;
            EXPECT_EQ(port.latency_ns.has_value(), known && busy == 7 && *port.port < 8)
                << "of the last group's run";
        }
        EXPECT_EQ(report.channels[0].ports[busy].data_mbps, 900u);
        EXPECT_EQ(report.sum.data_mbps, std::nullopt);
        EXPECT_FALSE(report.head.complete);
    }
}

TEST(time_out, is_no_idle_bus) {
    model_source model("zt410");
    ASSERT_TRUE(model.chip.chip().hang("emi_cen0"));
    const bus_report report = parse_bus(take_bus(model));

    EXPECT_EQ(report.usage_percent, std::nullopt);
    EXPECT_EQ(report.head.reasons, lines{"time-out of the EMI monitor"});
}

TEST(missing_larb, leaves_its_ports_and_the_sums_unknown) {
    model_source model("zt410");
    model.chip.chip().set_scenario(sim::find_scenario("zt410", "overload"));
    model.write("bw_larb", "2 16");
    model.log();
    model.chip.machine().fail_named(host::fault_kind::node, "larb1");
    const larb_report report = parse_larb(take_reading(model, "bw_larb"));
    const total_report total = parse_total(take_reading(model, "bw_total"));
    model.chip.machine().clear_faults();

    EXPECT_EQ(report.head.reasons, lines{"kernel log: " + no_larb});
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
        take_larb_of_module_2,
        [](source &from) { take_emi_detail(from); },
        [](source &from) { take_limits(from); },
    };
    model_source model("zt440");
    cut_total_report(model);
    model.write("larb_ostdl", "3 2");
    const lines before = selections_of(model);
    std::size_t reads = 0;

    for (const auto report : reports) {
        std::size_t broken_off = 0;
        for (bool whole = false; !whole; ++broken_off) {
            reads = 0;
            model.before_read = [&] {
                if (reads++ == broken_off) {
                    throw failure(exit_status::interrupted, "interrupted");
                }
            };
            try {
                report(model);
                whole = true;
            } catch (const failure &error) {
                EXPECT_EQ(error.status(), exit_status::interrupted);
            }
            model.before_read = [] {};
            ASSERT_EQ(selections_of(model), before) << broken_off;
        }
        EXPECT_GT(broken_off, 2u);
    }
}

// Attributes are pipes, whose ends wait for each other: that makes the report take its time.
TEST(selections, are_put_back_after_ctrl_c) {
    const scratch files;
    model_source model("zt440");
    cut_total_report(model);
    const std::string cut = model.read("bw_total").text;
    const std::string report = files.path("bw_total");
    mkfifo(report.c_str(), 0600);
    mkfifo(files.path("simple_mon").c_str(), 0600);
    setenv("OVK_DIRECTORY", files.path().c_str(), 1);

    for (const std::string &source : {"sysfs:" + files.path(), std::string("exec:sh")}) {
        running_program ovk({"-s", source, "report", "total"});
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
        model_source model("zt410");
        model.chip.chip().set_scenario(sim::find_scenario("zt410", "overload"));
        model.write("bw_total", "0 0 16 " + larbs_left_out);
        model.write("bw_total", "5 0 16 " + larbs_left_out);
        const total_report before = parse_total(take_total(model));
        set_total_time(model, 50);
        const total_report after = parse_total(take_total(model));
        EXPECT_GT(after.head.end_ns - after.head.start_ns,
                  2 * (before.head.end_ns - before.head.start_ns));
        ASSERT_EQ(after.modules.size(), before.modules.size());
        for (std::size_t i = 0; i < after.modules.size(); ++i) {
            EXPECT_EQ(after.modules[i].id, before.modules[i].id);
        }
        EXPECT_EQ(after.bars.size(), before.bars.size());
    }
}

TEST(measuring_time, of_the_total_report_is_refused_when_the_report_does_not_show_the_rest) {
    const lines hidden[] = {{"simple_mon", "1"}, {"bw_total", "0 1 16 1"}};
    for (const lines &each : hidden) {
        model_source model("zt410");  // idle: modules that are left out have no bars
        model.write(each[0], each[1]);
        try {
            set_total_time(model, 50);
            ADD_FAILURE() << each[0];
        } catch (const failure &error) {
            EXPECT_EQ(error.status(), exit_status::refused);
        }
    }
}

}  // namespace ovk::tests
