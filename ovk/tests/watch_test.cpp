// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/replay.h"
#include "ovk/tests/hand_made.h"
#include "ovk/tests/program.h"
#include "ovk/watch/condition.h"

namespace ovk::tests {

namespace {

std::string with_usages(const scratch &files, const std::vector<unsigned> &usages) {
    std::vector<operation> sweeps;
    for (const unsigned usage : usages) {
        sweeps.push_back(simple_view(sweeps.size(), simple_row("VDEC", usage), usage));
    }
    return "file:" + recording_of(files, "past", sweeps);
}

std::vector<std::uint64_t> usages_in(const std::string &file) {
    replay recorded(file);
    std::vector<std::uint64_t> found;
    while (const auto next = recorded.next()) {
        found.push_back(*std::get<total_report>(std::get<any_report>(*next)).usage.percent);
    }
    return found;
}

}  // namespace

TEST(condition, is_a_figure_a_comparison_and_a_number) {
    const std::vector<named_figure> figures = {{"usage.percent", "", {}, 90},
                                               {"modules.A B>=C.bus_mbps", "", {}, 7},
                                               {"slack", "", {}, {}},
                                               {"modules.X.bus_mbps", "", {}, {}}};
    const std::pair<const char *, truth> good[] = {
        {"usage_percent > 90", truth::no},
        {"usage_percent>=90", truth::yes},
        {"usage.percent < 90.5", truth::yes},
        {"usage.percent <= 89", truth::no},
        {" usage_percent == 90 ", truth::yes},
        {"usage_percent != 90", truth::no},
        {"modules.A B>=C.bus_mbps>6", truth::yes},
        {"modules.X.bus_mbps < 1", truth::unknown},
        {"modules.NONE.bus_mbps < 1", truth::unknown},
        {"total.usage.percent > 1", truth::yes},
    };
    for (const auto &[text, holds] : good) {
        EXPECT_EQ(condition(text).holds(figures), holds) << text;
    }
    EXPECT_EQ(condition("bus.usage_percent > 1").report(), "bus");
    EXPECT_EQ(condition("emi.channels.0.ports.3.latency_ns > 1").report(), "emi");
    for (const char *wrong :
         {"", "usage_percent", "usage_percent >", "usage_percent > x", "usage_percent > nan",
          "usage_percent > 9 %", "usage_percent = 9", "> 9", "usage > 9", "modules.A.speed > 9",
          "latency_ns > 9", "ports.modules.A.id > 1", "status == 1"}) {
        EXPECT_EQ(outcome_of([&] { condition{wrong}; }).status, 2) << wrong;
    }
}

TEST(watch, rings_once_when_all_has_held_for_long_enough_and_keeps_what_came_before) {
    const scratch files;
    const outcome came = ovk_with(
        "-s " + with_usages(files, {10, 20, 95, 30, 96, 97, 98, 99}) +
        " watch --when 'usage_percent > 90' --when 'modules.VDEC.bus_mbps < 98' --for 2 --keep 4 "
        "-o " +
        files.path("alarm") + " -- sh -c 'cp \"$OVK_RECORDING\" " + files.path("copy") +
        "; exit 3'");

    EXPECT_EQ(came.status, 1);
    EXPECT_EQ(came.out, "usage_percent > 90\nmodules.VDEC.bus_mbps < 98\nrecorded in " +
                            files.path("alarm") + "\n");
    EXPECT_EQ(came.err, "ovk: sh: ended with status 3\n");
    EXPECT_EQ(usages_in(files.path("alarm")), (std::vector<std::uint64_t>{95, 30, 96, 97}));
    EXPECT_EQ(files.content("copy"), files.content("alarm"));
}

TEST(watch, goes_on_when_told_to_and_rings_again_only_after_it_was_false) {
    const scratch files;
    const auto watch = [&](const std::vector<unsigned> &usages, const std::string &options) {
        return ovk_with("-s " + with_usages(files, usages) +
                        " watch --when 'usage_percent > 90' --count " +
                        std::to_string(usages.size()) + " -o " + files.path(options))
            .status;
    };
    EXPECT_EQ(watch({95, 95, 10, 95, 95}, "alarm.x --repeat --keep 2"), 1);
    EXPECT_EQ(usages_in(files.path("alarm.x")), std::vector<std::uint64_t>{95});
    EXPECT_EQ(usages_in(files.path("alarm-2.x")), (std::vector<std::uint64_t>{10, 95}));
    EXPECT_FALSE(std::filesystem::exists(files.path("alarm-3.x")));
    EXPECT_EQ(watch({95}, "no.such/folder/alarm"), 2);
    EXPECT_EQ(watch({1, 2}, "none"), 0);
    EXPECT_FALSE(std::filesystem::exists(files.path("none")));
}

// A hung monitor: what it would have told is neither above nor below.
TEST(watch, says_once_what_is_not_known_and_does_not_ring_by_it) {
    const scratch files;
    const std::string past =
        "file:" + recording_of(files, "hung", {timed_out_bus, timed_out_bus, timed_out_bus});
    for (const std::string when : {"bus.usage_percent < 1", "bus.usage_percent >= 0"}) {
        const outcome came =
            ovk_with("-s " + past + " watch --count 3 --when '" + when + "' -o " + files.path("a"));
        EXPECT_EQ(came.status, 0);
        EXPECT_EQ(came.err,
                  "ovk: " + past +
                      ": usage_percent is not known; the condition is neither true nor false\n");
    }
    EXPECT_FALSE(std::filesystem::exists(files.path("a")));
}

}  // namespace ovk::tests
