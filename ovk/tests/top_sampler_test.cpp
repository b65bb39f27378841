// SPDX-License-Identifier: GPL-2.0-only
// What `ovk top` takes from a source, and what it leaves behind there.
#include <poll.h>
#include <nlohmann/json.hpp>

#include "ovk/report/render.h"
#include "ovk/tests/chip_source.h"
#include "ovk/tests/hand_made.h"
#include "ovk/tests/program.h"
#include "ovk/top/background.h"

namespace ovk::tests {

namespace {

using top::sampler;

constexpr std::int64_t s_of_ns = 1'000'000'000;
constexpr int limit_ms = 60'000;  // for what can't fail to come

std::string selected_module(chip_source &chip) {
    return parse_larb(take_or_throw(chip, "bw_larb")).module.value_or("");
}

// Everything that comes until `enough` says so.
std::vector<top::news> news_until(top::background &work,
                                  const std::function<bool(const top::news &)> &enough) {
    std::vector<top::news> all;
    for (;;) {
        pollfd asked = {work.ready(), POLLIN, 0};
        if (poll(&asked, 1, limit_ms) <= 0) {
            ADD_FAILURE() << "nothing came";
            return all;
        }
        for (const top::news &each : work.take_news()) {
            all.push_back(each);
            if (enough(each)) {
                return all;
            }
        }
    }
}

bool is_round(const top::news &each) {
    return each.round.has_value();
}

}  // namespace

TEST(top_sampler, puts_the_selection_back_after_every_round_that_has_ports) {
    chip_source chip("zt430");
    sampler what(chip);
    what.show_ports("2");
    for (int i = 0; i < 2; ++i) {
        const auto taken = what.take(0);
        EXPECT_EQ(taken.ports->module, "VDEC");
        EXPECT_EQ(taken.ports_of, "2");
        EXPECT_EQ(selected_module(chip), "GOP");
    }
    what.show_ports("");
    EXPECT_FALSE(what.take(0).ports);
}

TEST(top_sampler, has_figures_without_ports_where_there_are_none_to_be_had) {
    chip_source chip("zt430");
    sampler what(chip);
    what.show_ports("NONE");
    const auto taken = what.take(0);
    EXPECT_TRUE(has(taken.no_ports, "no module 'NONE'"));
    EXPECT_TRUE(taken.total.usage.percent);
    EXPECT_EQ(what.take(0).no_ports, "");
    EXPECT_EQ(selected_module(chip), "GOP");
}

TEST(top_sampler, lets_as_much_virtual_time_go_by_as_there_was_on_the_clock) {
    const auto from = open_source("sim:zt430");
    sampler what(*from);
    const std::int64_t end = what.take(0).total.head.end_ns;
    EXPECT_EQ(what.take(2'000'000'000).total.head.start_ns, end + 2'000'000'000);
}

TEST(top_sampler, records_what_is_taken_and_marks_and_nothing_before_or_after) {
    const scratch files;
    chip_source chip("zt430");
    sampler what(chip);
    EXPECT_EQ(what.mark("mark 1"), "mark 1");
    what.take(0);
    what.start_recording(files.path("r"));
    const total_report taken = what.take(0).total;
    what.mark("mark 2");
    what.show_ports("VDEC");
    what.take(0);
    EXPECT_EQ(what.state().recorded_bytes, files.content("r").size());
    EXPECT_THROW(what.start_recording(files.path("r")), failure);
    what.stop_recording();
    EXPECT_EQ(what.state().recording, "");
    what.take(0);

    lines told;
    for (const operation &each : operations_of(files.path("r"))) {
        told.push_back(each.attribute + (each.is_write ? "=" : "") + each.written);
    }
    EXPECT_EQ(told, (lines{"bw_total", "mark 2", "bw_total", "ip_config", "larb_module_list",
                           "bw_larb", "bw_larb=2", "bw_larb", "bw_larb=9"}));
    const auto replay = open_source("file:" + files.path("r"));
    EXPECT_EQ(json_of(parse_total(take_total(*replay))), json_of(taken));
}

TEST(top_background, takes_rounds_and_does_what_it_is_asked_before_the_next) {
    chip_source chip("zt430");
    sampler what(chip);
    top::background work(what, 3600 * s_of_ns);
    EXPECT_EQ(news_until(work, is_round).size(), 1u);
    work.ask([](sampler &asked) { return asked.set_time(8); });
    const auto came = news_until(work, is_round);
    ASSERT_EQ(came.size(), 2u);
    EXPECT_TRUE(has(came.at(0).message, "TIME 8 ms"));
    EXPECT_EQ(came.at(1).state.time_ms, 8u);
}

TEST(top_background, tells_failures_and_goes_on) {
    chip_source chip("zt430");
    int reads = 0;
    chip.before_read = [&] {
        if (++reads == 1) {
            throw failure(exit_status::unreachable, "the link broke");
        }
    };
    sampler what(chip);
    top::background work(what, 0);
    const auto came = news_until(work, is_round);
    EXPECT_TRUE(came.at(0).failed);
    EXPECT_EQ(came.at(0).message, "the link broke");
    EXPECT_EQ(came.size(), 2u);
}

TEST(top_background, measures_nothing_in_a_pause_but_does_what_it_is_asked) {
    chip_source chip("zt430");
    sampler what(chip);
    top::background work(what, 0);
    news_until(work, is_round);
    work.pause(true);
    work.ask([](sampler &) { return std::string("done"); });
    const auto is_done = [](const top::news &each) { return each.message == "done"; };
    news_until(work, is_done);
    work.ask([](sampler &) { return std::string("done"); });
    EXPECT_EQ(news_until(work, is_done).size(), 1u);
    work.pause(false);
    news_until(work, is_round);
}

// The moment in which another module is selected.
TEST(top_background, puts_the_selection_back_when_it_is_interrupted_in_the_middle) {
    chip_source chip("zt430");
    bool moved = false;
    chip.on_write = [&](std::size_t) {
        moved = true;
        return 0;
    };
    chip.before_read = [&] {
        if (moved) {
            throw failure(exit_status::interrupted, "interrupted");
        }
    };
    sampler what(chip);
    what.show_ports("VDEC");
    {
        top::background work(what, 0);
        pollfd asked = {work.ended(), POLLIN, 0};
        EXPECT_EQ(poll(&asked, 1, limit_ms), 1);
    }
    EXPECT_EQ(chip.writes, 2u);
    chip.before_read = [] {};
    EXPECT_EQ(selected_module(chip), "GOP");
}

TEST(top_lines, have_the_figures_of_the_reports_and_end_after_the_count) {
    const scratch files;
    const std::string from = "file:" + files.path("r");
    ovk_with("-s sim:zt440,overload record --count 3 -o " + files.path("r"));
    const auto top = [&](const std::string &count) {
        return ovk_with("-s " + from + " top --every 0s --count " + count);
    };
    const std::string lines = top("2").out;
    const total_report report = parse_total(take_total(*open_source(from)));
    const std::string header =
        "DANGER  [OK]  " + from + "  usage " + std::to_string(*report.usage.percent) + " %";
    const std::size_t second = lines.find(header, 1);
    EXPECT_EQ(lines.find(header), 0u) << lines;
    EXPECT_EQ(lines.find(header, second + 1), std::string::npos) << lines;
    for (const module_figures &module : report.modules) {
        std::istringstream row(lines.substr(lines.find("\n" + *module.name + " ", second)));
        std::string name, bus;
        row >> name >> bus;
        EXPECT_EQ(bus, std::to_string(*module.bus_mbps)) << name;
    }
    EXPECT_EQ(top("4").status, 4);
    EXPECT_EQ(top("0").status, 2);
}

}  // namespace ovk::tests
