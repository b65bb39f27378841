// SPDX-License-Identifier: GPL-2.0-only
// Fatal signals that reach a process in any of its waits.
#include "tests/port_chip.h"
#include "tests/rig.h"

namespace tests {

class killed_reader : public testing::TestWithParam<const char *> {};

INSTANTIATE_TEST_SUITE_P(zt430, killed_reader,
                         testing::Values("bw_total", "bw_larb", "bw_scomm", "bw_emi", "bw_bus"),
                         [](const auto &each) { return std::string(each.param); });

// What is still on, but for the last run of the DRAM controller's counters: a total report leaves
// it in the registers when it has ended.
static lines running(rig &r) {
    lines places = left_on(r);

    std::erase_if(places, [](const std::string &place) {
        return place.ends_with("+0x400 0x00000005") || place.find("+0xf00 ") != place.npos;
    });
    return places;
}

// The first wait is that for the measurement lock; a wait that has begun is waited out.
TEST_P(killed_reader, begins_no_further_wait_and_leaves_everything_stopped_and_free) {
    const char *attribute = GetParam();
    rig r("zt430");
    r.loaded();
    r.chip().set_scenario(sim::find_scenario("zt430", "playback"));
    const auto waits = [&r] { return r.machine().requests(host::fault_kind::wait); };
    const std::uint64_t before_good = waits();
    const std::string good = r.read(attribute);
    const std::uint64_t points = waits() - before_good;
    const lines held = r.machine().holdings();

    ASSERT_GT(points, 16u);
    for (std::uint64_t n = 1; n <= points; n++) {
        SCOPED_TRACE("wait " + std::to_string(n) + " of " + std::to_string(points));
        const std::uint64_t before = waits();
        r.machine().fail_nth(host::fault_kind::wait, n);
        const auto read = r.machine().read(attribute);
        ASSERT_EQ(read.code, -4);
        ASSERT_EQ(waits() - before, n);
        ASSERT_EQ(running(r), lines{});
        ASSERT_EQ(r.machine().holdings(), held);
        ASSERT_EQ(r.log(), lines{});
    }
    EXPECT_EQ(r.read(attribute), good);
}

TEST(killed_writer, of_a_limit_changes_nothing) {
    rig r("zt430");
    r.loaded();
    r.machine().set_tracing(true);

    for (const char *attribute : {"bw_emi_lmt", "bw_emi_timer", "bw_emi_ostd"}) {
        r.machine().fail_nth(host::fault_kind::wait, 1);
        EXPECT_EQ(r.machine().write(attribute, "0 0 1 1\n"), -4) << attribute;
    }
    EXPECT_EQ(r.trace(), lines{});
}

// The engine hangs, and the signal comes with the fifth poll.
TEST(killed_writer, of_a_test_stops_the_engine_within_a_pass) {
    rig r("zt410");
    r.loaded();
    ASSERT_TRUE(r.chip().hang("miu2gmc0"));
    r.write("fake_eng_loop", "0 1\n");
    r.log();
    r.machine().fail_nth(host::fault_kind::wait, 5);
    r.write("fake_engine", "0 0 1000 0 0\n");

    EXPECT_EQ(r.machine().waited_us(), 5u * 499);
    EXPECT_EQ(r.log(), lines{"<6>id = 0, start = 0, size = 1000, type = 0, pattern = 0"});
    EXPECT_TRUE(r.read("fake_engine").starts_with("Fake engine 0: \033[31mFAIL\033[0m\n"));
    EXPECT_EQ(r.peek("miu2gmc0+0x000"), 0u);
}

}  // namespace tests
