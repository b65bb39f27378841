// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include "ovk/tests/top_figures.h"
#include "ovk/top/numbers.h"

namespace ovk::tests {

namespace {

using names = std::vector<std::string>;
using top::badge;
using top::dashboard;
using top::wish;

names names_in(const dashboard &shown) {
    names found;
    for (const top::module_row &each : shown.modules()) {
        found.push_back(*each.figures.name);
    }
    return found;
}

// "NAME CHANGE BASELINE" of every row.
names changes_in(const dashboard &shown) {
    names changes;
    for (const top::module_row &each : shown.modules()) {
        changes.push_back(*each.figures.name + " " + top::change_text(each.change_mbps) + " " +
                          top::change_text(each.from_baseline_mbps));
    }
    return changes;
}

}  // namespace

TEST(top_badge, tells_whether_figures_are_whole_and_new) {
    const std::string time_out = "kernel log: [OVK_BW]EMI monitor time out";
    const struct {
        names reasons;
        std::int64_t age_ns;
        badge expected;
    } cases[] = {{{}, 0, badge::ok},
                 {{"cut at 4095 bytes"}, 0, badge::cut},
                 {{"ends early"}, 0, badge::cut},
                 {{time_out}, 0, badge::time_out},
                 {{"cut at 4095 bytes", time_out}, 0, badge::time_out},
                 {{"unparsed lines: 1"}, 0, badge::incomplete},
                 {{}, 3 * s, badge::ok},
                 {{}, 3 * s + 1, badge::stale},
                 {{time_out}, 3 * s + 1, badge::stale}};

    for (const auto &each : cases) {
        dashboard shown("x", s);
        top::news came = sweep_of({});
        EXPECT_EQ(shown.badge_at(0), badge::none);
        came.round->total.head.reasons = each.reasons;
        came.round->total.head.complete = each.reasons.empty();
        shown.add(came, 5 * s);
        EXPECT_EQ(shown.badge_at(5 * s + each.age_ns), each.expected) << each.age_ns;
    }
}

TEST(top_badge, is_stale_after_a_failure_but_not_in_a_pause_or_during_a_long_sweep) {
    dashboard shown("x", s);
    shown.add(sweep_of({}), 0);
    shown.add(failed_sweep(), s);
    EXPECT_EQ(shown.badge_at(s), badge::stale);
    EXPECT_EQ(shown.message(), "the link broke");
    EXPECT_EQ(shown.age_ns(s), s);
    shown.add(sweep_of({}), 2 * s);
    EXPECT_EQ(shown.badge_at(2 * s), badge::ok);

    EXPECT_EQ(shown.press('p').what, wish::pause);
    EXPECT_EQ(shown.badge_at(1000 * s), badge::ok);
    EXPECT_EQ(shown.press('p').what, wish::go_on);
    EXPECT_EQ(shown.badge_at(1000 * s), badge::stale);

    top::news slow = sweep_of({});
    slow.round->total.head.end_ns = 10 * s;
    shown.add(slow, 1000 * s);
    EXPECT_EQ(shown.badge_at(1030 * s), badge::ok);
    EXPECT_EQ(shown.badge_at(1031 * s), badge::stale);
}

TEST(top_changes, are_known_between_sweeps_that_know_the_module) {
    dashboard shown("x", s);
    shown.add(sweep_of({module_of("A", 0, 100)}), 0);
    EXPECT_EQ(changes_in(shown), names{"A - -"});
    shown.press('b');
    shown.add(sweep_of({module_of("A", 0, 70), module_of("B", 1, 5)}), s);
    EXPECT_EQ(changes_in(shown), (names{"A -30 -30", "B - -"}));
    EXPECT_EQ(shown.sum().change_mbps, 0);
    shown.add(sweep_of({module_of("A", 0, {}), module_of("B", 1, 25)}), s);
    EXPECT_EQ(changes_in(shown), (names{"A - -", "B +20 -"}));
    shown.add(failed_sweep(), s);
    EXPECT_EQ(changes_in(shown), (names{"A - -", "B +20 -"}));
    shown.add(sweep_of({module_of("A", 0, 101), module_of("B", 1, 30)}), s);
    EXPECT_EQ(changes_in(shown), (names{"A - +1", "B - -"}));
    shown.press('B');
    EXPECT_EQ(changes_in(shown), (names{"A - -", "B - -"}));
}

// Two modules may have one name; the simple view has no ids.
TEST(top_changes, are_those_of_name_and_id_where_there_is_one) {
    dashboard shown("x", s);
    shown.add(sweep_of({module_of("A", 0, 10), module_of("A", 1, 20), module_of("B", 2, 30)}), 0);
    shown.add(sweep_of({module_of("A", 1, 21), module_of("B", {}, 33), module_of("C", 2, 1)}), 0);
    EXPECT_EQ(changes_in(shown), (names{"A +1 -", "B +3 -", "C - -"}));
}

TEST(top_order, goes_through_all_columns_and_keeps_the_selected_module) {
    dashboard shown("x", s);
    shown.add(sweep_of({module_of("D", 0, 5), module_of("B", 1, 9), module_of("REF_EMI", 9, 99),
                        module_of("C", 2, {}, {}), module_of("A", 3, 7, 60)}),
              0);
    shown.add(sweep_of({module_of("D", 0, 1, 70), module_of("B", 1, 9), module_of("REF_EMI", 9, 99),
                        module_of("C", 2, {}, {}), module_of("A", 3, 8, 60)}),
              0);
    shown.press(top::key_down);
    EXPECT_EQ(names_in(shown), (names{"D", "B", "C", "A"}));
    EXPECT_EQ(shown.selected(), 1u);
    for (const names &expected :
         {names{"B", "A", "D", "C"}, names{"D", "A", "B", "C"}, names{"A", "D", "B", "C"},
          names{"A", "B", "C", "D"}, names{"D", "B", "C", "A"}}) {
        shown.press('s');
        EXPECT_EQ(names_in(shown), expected);
        EXPECT_EQ(expected.at(shown.selected()), "B");
    }
    EXPECT_EQ(shown.reference()->figures.bus_mbps, 99u);
}

TEST(top_trend, has_gaps_for_what_was_not_known_and_at_most_sixty_sweeps) {
    dashboard shown("x", s);
    shown.add(sweep_of({module_of("A", 0, 4)}), 0);
    shown.add(failed_sweep(), 0);
    shown.add(sweep_of({module_of("A", 0, {})}), 0);
    shown.add(sweep_of({module_of("B", 1, 8)}), 0);
    shown.add(sweep_of({module_of("A", 0, 0)}), 0);
    EXPECT_EQ(shown.modules().at(0).trend, (std::vector<figure>{4, {}, {}, {}, 0}));
    EXPECT_EQ(shown.press('m').text, "mark 1");
    for (int i = 0; i < 59; ++i) {
        shown.add(sweep_of({module_of("A", 0, 1)}), 0);
    }
    EXPECT_EQ(shown.press('m').text, "mark 2");
    EXPECT_EQ(shown.modules().at(0).trend.size(), 60u);
    EXPECT_EQ(shown.modules().at(0).trend.at(0), 0u);
    std::vector<bool> marks(60);
    marks.front() = marks.back() = true;
    EXPECT_EQ(shown.marks(), marks);
    EXPECT_EQ(shown.sweeps(), 64u);
}

TEST(top_time, steps_up_and_down_once_it_is_known) {
    const struct {
        std::optional<std::uint32_t> now;
        char key;
        std::uint32_t wanted;
    } cases[] = {{{}, '+', 16}, {{}, '-', 16}, {16, '+', 32},     {16, '=', 32}, {16, '-', 8},
                 {20, '+', 32}, {20, '-', 16}, {1024, '+', 1024}, {1, '-', 1},   {9999, '-', 1024}};
    for (const auto &each : cases) {
        dashboard shown("x", s);
        shown.add({.state = {.time_ms = each.now}}, 0);
        const wish wanted = shown.press(each.key);
        EXPECT_EQ(wanted.what, wish::set_time);
        EXPECT_EQ(wanted.time_ms, each.wanted) << each.key << each.now.value_or(0);
    }
}

TEST(top_ports, are_those_of_the_module_that_was_chosen_and_no_other) {
    dashboard shown("x", s);
    EXPECT_EQ(shown.press(top::key_enter).what, wish::nothing);
    shown.add(sweep_of({module_of("A", 4, 1), module_of("B", {}, 2)}), 0);
    EXPECT_EQ(shown.press(top::key_enter).text, "4");
    EXPECT_EQ(shown.press(top::key_escape).what, wish::close_ports);
    shown.press(top::key_down);
    const wish opened = shown.press(top::key_enter);
    EXPECT_EQ(opened.what, wish::open_ports);
    EXPECT_EQ(opened.text, "B");

    top::news late = sweep_of({});
    late.round->ports_of = "4";
    late.round->ports = larb_report{.module = "A"};
    shown.add(late, 0);
    EXPECT_FALSE(shown.ports());
    late.round->ports_of = "B";
    shown.add(late, 0);
    EXPECT_TRUE(shown.ports());
    late.round->ports.reset();
    late.round->no_ports = "none";
    shown.add(late, 0);
    EXPECT_EQ(shown.no_ports(), "none");
    EXPECT_EQ(shown.press(top::key_enter).what, wish::close_ports);
}

TEST(top_help, is_left_with_any_key_that_then_does_nothing_else) {
    dashboard shown("x", s);
    shown.press('?');
    EXPECT_EQ(shown.shown(), top::page::help);
    EXPECT_EQ(shown.press('r').what, wish::nothing);
    EXPECT_EQ(shown.shown(), top::page::modules);
    EXPECT_EQ(shown.press('r').what, wish::record);
    shown.press('?');
    EXPECT_EQ(shown.press('q').what, wish::quit);
}

}  // namespace ovk::tests
