// SPDX-License-Identifier: GPL-2.0-only
// What sessions can't show of the controls and debug tools: unusual trees, waiting writers, how
// often a register is read, and whether a message ends its line.
#include <algorithm>

#include "tests/block_trace.h"
#include "tests/port_chip.h"

namespace tests {

namespace {

using devicetree::flat_tree;

constexpr const char *bist = "/bw_modules/bw_bist";

lines writes_of(rig &r, const std::string &attribute, const std::string &text) {
    r.machine().set_tracing(true);
    r.write(attribute, text);
    lines accesses = r.trace();

    std::erase_if(accesses, [](const std::string &access) { return !access.starts_with("W32"); });
    return accesses;
}

}  // namespace

// "\c" is a line that the message leaves open.
TEST(reg_op, leaves_lines_open_and_reads_the_register_33_times_for_a_report) {
    const std::pair<const char *, lines> messages[] = {
        {"0x1c000010 12abc",
         {"<6>[OVK_BW]register = 0x1c000010\\c", "<6>[OVK_BW]value = 12abc\\c"}},
        {"1c000010", {"<3>[OVK_BW]Wrong Argument!!\\c"}},
        {"x", {"<3>[OVK_BW]Wrong Argument!!"}},
        {"0x1c000010 32 1", {"<3>[OVK_BW]Wong bit"}},
        {"0x1c000010 31 2", {"<3>[OVK_BW]Wrong bit value"}},
        {"0x1bfffffc", {"<3>[OVK_BW]Wrong REG"}},
        {"0x1c000010 2 0", {"<6>reg = 0x1c000010, BIT(2) = 0\\c"}},
        {"0x1c000010", {"<6>[OVK_BW]register = 0x1c000010\\c"}}};
    rig r("zt410");
    r.loaded();

    for (const auto &[text, log] : messages) {
        r.write("reg_op", text);
        EXPECT_EQ(r.log(), log) << text;
    }
    r.machine().set_tracing(true);
    r.read("reg_op");
    EXPECT_EQ(r.trace(), lines(33, "R32 0x1c000010+0x000 0x00012ab8"));
}

// 4 GiB are 0x10000000 units of 16 bytes. No bit of an address is left when 64 are shifted out.
TEST(traffic_generator, is_started_by_type_with_up_to_4_GiB) {
    for (const auto &[alignment, request, length_high, start_high, command] :
         {std::tuple{4u, "1 80000000 100000 0 1\n", 1u, 0x800u, 0x108u},
          {4, "1 80000000 100000000 1 1\n", 0x1000, 0x800, 0x208},
          {64, "1 ffffffffffffffff 100000 2 1\n", 1, 0, 0x8}}) {
        rig r(sim::chip_tree("zt410").with_u32(bist, "alignment", alignment));
        lines expected;
        add(expected, "miu2gmc1", "0=0 18=0 c=0 10=%x 14=1 4=0 8=%x 0=%x 0=%x 0=0", length_high,
            start_high, command, command | 1);
        EXPECT_EQ(writes_of(r.loaded(), "fake_engine", request), expected);
    }
}

// The first multiple of 499 us at or above ten seconds and one for every 32 MiB in a direction; or
// a fatal signal, which comes with the fifth poll.
TEST(traffic_generator, gives_up_a_pass_that_does_not_end_in_the_time_of_its_size_and_when_killed) {
    const std::string time_out = "<3>[OVK_BW]MIU2GMC_DRV [0] time out";

    for (const auto &[request, killed_at, polls] : {std::tuple{"0 0 1ffffff 1 0\n", 0u, 20'041u},
                                                    {"0 0 2000000 1 0\n", 0, 22'045},
                                                    {"0 0 2000000 2 0\n", 0, 24'049},
                                                    {"0 0 1000 0 0\n", 5, 5}}) {
        SCOPED_TRACE(request);
        rig r("zt410");
        r.loaded();
        ASSERT_TRUE(r.chip().hang("miu2gmc0"));
        r.write("fake_eng_loop", "0 1\n");
        r.machine().fail_nth(host::fault_kind::wait, killed_at);
        r.write("fake_engine", request);
        EXPECT_EQ(r.machine().waited_us(), polls * 499);
        EXPECT_EQ(r.log().back() == time_out, killed_at == 0);
        EXPECT_TRUE(r.read("fake_engine").starts_with("Fake engine 0: \033[31mFAIL\033[0m\n"));
        EXPECT_EQ(r.peek("miu2gmc0+0x000"), 0u);
    }
}

// An engine without ports is none. Nor are those of a module on a node of another name: nothing
// says which blocks they would be.
TEST(traffic_generator, has_no_engines_but_those_that_the_tree_describes) {
    const flat_tree tree = sim::chip_tree("zt410");
    std::pair<flat_tree, const char *> cases[] = {
        {tree.without_property(std::string(bist) + "/bist_engine0", "port-list"),
         "Fake engine 1: NO RESULT\n"},
        {tree.without_node(bist), ""},
        {tree.without_property(bist, "device_type")
             .with_property("/bw_modules/bw_evd", "module-name", std::string("BIST", 5))
             .with_u32("/bw_modules/bw_evd", "alignment", 4),
         ""}};

    for (auto &[variation, engines] : cases) {
        rig r(std::move(variation));
        EXPECT_EQ(r.loaded().read("fake_engine"), engines);
        EXPECT_EQ(writes_of(r, "fake_engine", "0 0 1000 1 0\n"), lines{});
        EXPECT_EQ(writes_of(r, "fake_eng_loop", "0 1\n"), lines{});
        EXPECT_EQ(r.log(), (lines{"<6>id = 0, start = 0, size = 1000, type = 1, pattern = 0",
                                  "<3>[OVK_BW]Wrong Argument!!"}));
    }
}

TEST(traffic_generator, is_left_alone_at_unloading_where_loops_are_the_writer_s) {
    rig r("zt410");
    r.loaded().write("fake_eng_loop", "1 1\n");
    r.machine().set_tracing(true);
    r.machine().unload();

    EXPECT_EQ(r.trace(), lines{});
}

// Of all of the chip's channels.
TEST(emi_settings, reach_one_to_three_channels_through_broadcast_and_no_others) {
    for (const auto &[channels, targets] :
         {std::pair{0u, ""}, {1, "00000000"}, {2, "00000002"}, {3, "00007f02"}, {4, ""}}) {
        SCOPED_TRACE(channels);
        rig r(sim::chip_tree("zt440").with_u32("/emi_arch", "emi_cnt", channels));
        const bool refused = *targets == '\0';
        const lines stores = {"W32 emi_dispatch0+0x100 0x00007f7f",
                              std::string("W32 emi_dispatch0+0x104 0x") + targets,
                              "W32 emi_cen0+0x110 0x00000001", "W32 emi_dispatch0+0x100 0x00000000",
                              "W32 emi_dispatch0+0x104 0x00000000"};
        EXPECT_EQ(writes_of(r.loaded(), "bw_emi_lmt", std::to_string(channels) + " 2 1\n"),
                  refused ? lines{} : stores);
        EXPECT_EQ(r.log(), lines(refused ? 1 : 0, "<6>Something Wrong!!"));
    }
}

// Bank 0x1234 of the register bus is at 0x1c000000 + 0x1234 * 512.
TEST(fifo, banks_are_announced_at_start_up) {
    rig r("zt410");
    r.machine().load();
    const lines log = r.log();

    EXPECT_EQ(lines(log.end() - 5, log.end()),
              (lines{"<3>[OVK_BW] fifo_cnt: 2", "<3>[OVK_BW] riu base: 1234",
                     "<3>[OVK_BW] cpu base: 1c246800", "<3>[OVK_BW] riu base: 1240",
                     "<3>[OVK_BW] cpu base: 1c248000"}));
}

// Switching clears the status; the count goes with switching off alone.
TEST(fifo, is_counted_until_it_is_switched_off) {
    rig r("zt410");
    r.loaded();
    for (const auto &[attribute, text, counted] : {std::tuple{"fifo_status", "1", "1"},
                                                   {"fifo_status_clear", "1", "2"},
                                                   {"fifo_status", "1", "3"},
                                                   {"fifo_status", "0", "1"}}) {
        r.write(attribute, text);
        r.poke("0x1c246940", 1);
        r.poke("0x1c2469c8", 4);
        EXPECT_EQ(words_of(row_with(r.read("fifo_status"), "0 MVOP")).back(), counted);
    }
}

// After the lock and the larb's window come the polls of a monitor that is never done.
TEST(killed_reader, ends_between_polls_of_a_monitor_and_says_nothing_of_it) {
    rig r(port_chip());
    r.loaded().write("debug_log_on", "1\n");
    r.run({at_larb(0, 3, {.read = 100})});
    ASSERT_TRUE(r.chip().hang("effi_monitor0"));

    for (const std::uint64_t wait : {2u, 5u}) {
        const std::uint64_t before = r.machine().requests(host::fault_kind::wait);
        r.machine().fail_nth(host::fault_kind::wait, wait);
        EXPECT_EQ(r.read_code("bw_larb"), -4);
        EXPECT_EQ(r.machine().requests(host::fault_kind::wait) - before, wait);
        EXPECT_EQ(r.log(), lines{}) << wait;
    }
}

// The two locks, and a turn of the wait for the first group of ports.
TEST(killed_reader, starts_no_further_group_of_EMI_ports) {
    rig r("zt410");
    r.loaded().machine().set_tracing(true);
    r.machine().fail_nth(host::fault_kind::wait, 3);
    EXPECT_EQ(r.read_code("bw_emi"), -4);
    const lines accesses = r.trace();

    EXPECT_EQ(std::count(accesses.begin(), accesses.end(), "W32 emi_cen0+0x400 0x00000001"), 1);
}

}  // namespace tests
