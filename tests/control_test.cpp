// SPDX-License-Identifier: GPL-2.0-only
// What sessions can't show of the controls and debug tools: unusual trees, waiting writers, how
// often a register is read, and whether a message ends its line.
#include <algorithm>

#include "tests/rig.h"

namespace tests {

namespace {

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
    rig r("zt410");
    r.loaded();
    for (const char *text :
         {"0x1c000010 12abc\n", "0x1c000010 5 \n", "0x1c000010\n", "1c000010\n", "x\n",
          "0x1c000010 3 1\n", "0x1c000010 32 1\n", "0x1c000010 31 2\n", "0x1bfffffc\n"}) {
        r.write("reg_op", text);
    }
    EXPECT_EQ(r.log(),
              (lines{"<6>[OVK_BW]register = 0x1c000010\\c", "<6>[OVK_BW]value = 12abc\\c",
                     "<6>[OVK_BW]register = 0x1c000010\\c", "<6>[OVK_BW]value = 5\\c",
                     "<6>[OVK_BW]register = 0x1c000010\\c", "<3>[OVK_BW]Wrong Argument!!\\c",
                     "<3>[OVK_BW]Wrong Argument!!", "<6>reg = 0x1c000010, BIT(3) = 1\\c",
                     "<3>[OVK_BW]Wong bit", "<3>[OVK_BW]Wrong bit value", "<3>[OVK_BW]Wrong REG"}));

    r.write("reg_op", "0x1c000010\n");
    r.machine().set_tracing(true);
    r.read("reg_op");
    EXPECT_EQ(r.trace(), lines(33, "R32 0x1c000010+0x000 0x0000000d"));
}

// 4 GiB are 0x10000000 units of 16 bytes.
TEST(traffic_generator, is_started_by_type_with_up_to_4_GiB) {
    rig r("zt410");
    r.loaded();
    const struct {
        const char *request;
        const char *high_of_length;
        const char *command;
    } cases[] = {{"1 80000000 100000 0 5a5a\n", "0x00000001", "0x0000010"},
                 {"1 80000000 100000000 1 5a5a\n", "0x00001000", "0x0000020"},
                 {"1 80000000 100000 2 5a5a\n", "0x00000001", "0x0000000"}};

    for (const auto &[request, high_of_length, command] : cases) {
        const lines writes = writes_of(r, "fake_engine", request);
        const std::string engine = "W32 miu2gmc1+0x0";
        ASSERT_EQ(writes.size(), 10u) << request;
        EXPECT_EQ(writes[3], engine + "10 " + high_of_length) << request;
        EXPECT_EQ(writes[7], engine + "00 " + command + "8") << request;
        EXPECT_EQ(writes[8], engine + "00 " + command + "9") << request;
    }
}

// The first multiple of 499 us at or above ten seconds and one for every 32 MiB in a direction; or
// a fatal signal, which comes with the fifth poll.
TEST(traffic_generator, gives_up_a_pass_that_does_not_end_in_the_time_of_its_size_and_when_killed) {
    const struct {
        const char *request;
        std::uint64_t killed_at;  // 0: it is not
        std::uint64_t polls;
        const char *message;
    } cases[] = {{"1000 0 0\n", 0, 20'041, "<3>[OVK_BW]MIU2GMC_DRV [0] time out"},
                 {"1ffffff 1 0\n", 0, 20'041, "<3>[OVK_BW]MIU2GMC_DRV [0] time out"},
                 {"2000000 1 0\n", 0, 22'045, "<3>[OVK_BW]MIU2GMC_DRV [0] time out"},
                 {"2000000 2 0\n", 0, 24'049, "<3>[OVK_BW]MIU2GMC_DRV [0] time out"},
                 {"1000 0 0\n", 5, 5, "<6>id = 0, start = 0, size = 1000, type = 0, pattern = 0"}};

    for (const auto &[request, killed_at, polls, message] : cases) {
        rig r("zt410");
        r.loaded();
        ASSERT_TRUE(r.chip().hang("miu2gmc0"));
        r.write("fake_eng_loop", "0 1\n");
        r.log();
        r.machine().fail_nth(host::fault_kind::wait, killed_at);
        r.write("fake_engine", std::string("0 0 ") + request);

        EXPECT_EQ(r.machine().waited_us(), polls * 499) << request;
        EXPECT_EQ(r.log().back(), message) << request;
        EXPECT_TRUE(r.read("fake_engine").starts_with("Fake engine 0: \033[31mFAIL\033[0m\n"));
        EXPECT_EQ(r.peek("miu2gmc0+0x000"), 0u) << request;
    }
}

// The first engine's group has no ports, so the other one is the only one.
TEST(traffic_generator, has_no_engine_whose_ports_are_not_known) {
    const std::string first = std::string(bist) + "/bist_engine0";
    rig r(sim::chip_tree("zt410").without_property(first, "port-list"));
    r.loaded();

    EXPECT_EQ(r.read("fake_engine"), "Fake engine 1: NO RESULT\n");
    EXPECT_EQ(writes_of(r, "fake_engine", "0 0 1000 1 0\n"), lines{});
}

TEST(traffic_generator, is_not_there_without_its_module) {
    rig r(sim::chip_tree("zt410").without_node(bist));
    r.loaded();

    EXPECT_EQ(r.read("fake_engine"), "");
    EXPECT_EQ(writes_of(r, "fake_eng_loop", "0 1\n"), lines{});
    EXPECT_EQ(writes_of(r, "fake_engine", "0 0 1000 1 0\n"), lines{});
    EXPECT_EQ(r.log(), (lines{"<3>[OVK_BW]Wrong Argument!!",
                              "<6>id = 0, start = 0, size = 1000, type = 1, pattern = 0"}));
}

TEST(traffic_generator, has_no_address_left_when_64_bits_are_shifted_out) {
    rig r(sim::chip_tree("zt410").with_u32(bist, "alignment", 64));
    r.loaded();
    const lines writes = writes_of(r, "fake_engine", "1 ffffffffffffffff 1000 1 0\n");
    EXPECT_EQ(std::count(writes.begin(), writes.end(), "W32 miu2gmc1+0x004 0x00000000"), 1);
    EXPECT_EQ(std::count(writes.begin(), writes.end(), "W32 miu2gmc1+0x008 0x00000000"), 1);
}

TEST(emi_settings, need_one_to_three_channels) {
    for (const std::uint32_t channels : {0u, 4u}) {
        rig r(sim::chip_tree("zt440").with_u32("/emi_arch", "emi_cnt", channels));
        r.loaded();
        for (const char *attribute : {"bw_emi_timer", "bw_emi_ostd"}) {
            EXPECT_EQ(writes_of(r, attribute, "0 0 0 1\n"), lines{});
        }
        EXPECT_EQ(writes_of(r, "bw_emi_lmt", "0 0 1\n"), lines{});
        EXPECT_EQ(r.log(), lines(3, "<6>Something Wrong!!")) << channels;
    }
}

TEST(mask, asks_nothing_of_the_sibling_without_three_numbers) {
    rig r("zt410");
    r.loaded();
    r.write("mask", "1 3\n");
    r.write("mask", "1 x 1\n");

    EXPECT_TRUE(r.machine().take_mask_requests().empty());
    r.write("mask", "1 3 -1\n");
    EXPECT_EQ(r.machine().take_mask_requests(), (std::vector<host::mask_request>{{1, 3, true, 0}}));
}

// Bank 0x1000 of the register bus is at 0x1c000000 + 0x1000 * 512.
TEST(fifo, banks_are_announced_at_start_up) {
    rig r("zt430");
    ASSERT_EQ(r.machine().load(), 0);
    const lines log = r.log();
    const auto first = std::find(log.begin(), log.end(), "<3>[OVK_BW] fifo_cnt: 6");

    ASSERT_GE(log.end() - first, 5);
    EXPECT_EQ(lines(first + 1, first + 5),
              (lines{"<3>[OVK_BW] riu base: 1000", "<3>[OVK_BW] cpu base: 1c200000",
                     "<3>[OVK_BW] riu base: 1008", "<3>[OVK_BW] cpu base: 1c201000"}));
}

// It is not said which blocks they would be.
TEST(traffic_generator, has_no_engines_on_a_node_of_another_name) {
    rig r(sim::chip_tree("zt410")
              .without_property(bist, "device_type")
              .with_property("/bw_modules/bw_evd", "module-name", std::string("BIST", 5))
              .with_u32("/bw_modules/bw_evd", "alignment", 4));

    EXPECT_EQ(r.loaded().read("fake_engine"), "");
}

TEST(traffic_generator, is_left_alone_at_unloading_where_loops_are_the_writer_s) {
    rig r("zt410");
    r.loaded();
    r.write("fake_eng_loop", "1 1\n");
    r.machine().set_tracing(true);
    r.machine().unload();

    EXPECT_EQ(r.trace(), lines{});
}

// After the lock and the larb's window come the polls of a monitor that is never done.
TEST(killed_reader, ends_between_polls_of_a_monitor_and_says_nothing_of_it) {
    rig r("zt430");
    r.loaded();
    r.chip().set_scenario(sim::find_scenario("zt430", "playback"));
    r.write("debug_log_on", "1\n");
    for (const auto &node : r.machine().tree().nodes()) {
        if (node->name.starts_with("effi_monitor")) {
            ASSERT_TRUE(r.chip().hang(node->name));
        }
    }
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
    r.loaded();
    r.machine().set_tracing(true);
    r.machine().fail_nth(host::fault_kind::wait, 3);
    EXPECT_EQ(r.read_code("bw_emi"), -4);
    const lines accesses = r.trace();

    EXPECT_EQ(std::count(accesses.begin(), accesses.end(), "W32 emi_cen0+0x400 0x00000001"), 1);
}

}  // namespace tests
