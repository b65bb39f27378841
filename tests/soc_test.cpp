// SPDX-License-Identifier: GPL-2.0-only
// What the reports don't show of the chip's monitors, against numbers worked out by hand.
#include "tests/bare_chip.h"

namespace tests {

namespace {

class soc_monitors : public bare_chip {};

TEST_F(soc_monitors, efficiency_needs_arming_time_configuration_and_power) {
    const lines done_and_result = {"effi_monitor0+0x34", "effi_monitor0+0x2c"};
    run({video});
    store("effi_monitor0+0x00", 0x10);
    EXPECT_EQ(next_event(), std::nullopt) << "not armed";
    store({{"effi_monitor0+0x00", 0x08}, {"effi_monitor0+0x00", 0x58}});
    EXPECT_EQ(next_event(), 800u);
    pass(799);
    EXPECT_EQ(loads(done_and_result), (numbers{0, 0}));
    pass(1);
    EXPECT_EQ(loads(done_and_result), (numbers{1, 78}));
    store("effi_monitor0+0x00", 0x48);
    EXPECT_EQ(load("effi_monitor0+0x2c"), 78u);
    store({{"effi_monitor0+0x00", 0x01}, {"effi_monitor0+0x00", 0x00}});
    pass(10'000);
    EXPECT_EQ(load("effi_monitor0+0x34"), 0u);
    EXPECT_EQ(results(), (numbers{0, 0, 0, 0})) << "reset";
    r->chip().power_lost();
    EXPECT_EQ(load("effi_monitor0+0x0c"), 0u);
    EXPECT_EQ(efficiency(0, 0), (numbers{0, 0, 0, 0})) << "not configured";
    store("effi_monitor0+0x28", 0x5d58);
    EXPECT_EQ(efficiency(0, 0)[1], 78u);
    EXPECT_TRUE(r->chip().hang("effi_monitor0"));
    store({{"effi_monitor0+0x00", 0x08}, {"effi_monitor0+0x00", 0x18}});
    pass(1'000'000);
    EXPECT_EQ(load("effi_monitor0+0x34"), 0u) << "hangs";
    EXPECT_FALSE(r->chip().hang("effi_monitor99"));
}

// Port 2 (the larb's 1130 MB/s) in slot 0, port 8 (1001 MB/s) in slot 5.
class soc_channels : public bare_chip {
  protected:
    void start(bool broadcast) {
        run({video, source{source_kind::emi_port, 0, 8, {1001, 0, 90}}});
        store({{"emi_dispatch0+0x100", broadcast ? 0x7f7f : 0},
               {"emi_dispatch0+0x104", broadcast ? 0x2 : 0},
               {"emi_cen0+0x060", 0x40000000},
               {"emi_cen0+0x400", 0},
               {"emi_cen0+0x404", 800'000},
               {"emi_cen0+0xf00", 0x407},
               {"emi_cen0+0xf14", 0x10007},
               {"emi_cen0+0xf2c", 0xf0000000},
               {"emi_cen0+0xf40", 0xf0000000},
               {"emi_cen0+0x400", 1}});
    }
};

TEST_F(soc_channels, run_and_stop_together_by_broadcast) {
    start(true);
    pass(999);
    EXPECT_EQ(load("emi_cen0+0x400"), 1u);
    pass(5);
    EXPECT_EQ(loads({"emi_cen0+0x400", "emi_cen0+0x428", "emi_cen0+0xf1c", "emi_cen0+0x420"}),
              (numbers{5, 565'000 / 8, 501'000 / 8, 1'066'000 / 8}));
    EXPECT_EQ(loads({"emi_cen1+0x400", "emi_cen1+0x428", "emi_cen1+0xf1c", "emi_cen1+0x420"}),
              (numbers{5, 565'000 / 8, 500'000 / 8, 1'065'000 / 8}));
    store("emi_cen0+0x400", 0);
    EXPECT_EQ(loads({"emi_cen1+0x400", "emi_cen1+0x428"}), (numbers{0, 565'000 / 8}));
}

// Channel 1's window ends where SMI common 0 begins.
TEST_F(soc_channels, get_what_is_broadcast_within_their_window_alone) {
    const std::string window("\0\0\0\0\x1c\x45\xfc\0\0\0\0\0\0\0\x04\0", 16);
    power_on(board().with_property("/soc/emi_cen1@1c441000", "reg", window));
    start(true);
    store("emi_cen0+0x100", 7);
    EXPECT_EQ(load("emi_cen1+0x100"), 7u);
    EXPECT_EQ(r->peek("smi_common0+0x00"), 0u);
    EXPECT_EQ(r->peek("smi_common0+0x04"), 0u);
}

TEST_F(soc_channels, run_alone_without_broadcast_and_count_only_when_enabled) {
    start(false);
    pass(1000);
    EXPECT_EQ(load("emi_cen0+0x428"), 565'000u / 8);
    EXPECT_EQ(loads({"emi_cen1+0x400", "emi_cen1+0x428"}), (numbers{0, 0}));
    store("emi_cen0+0x060", 0, 64);
    store("emi_cen0+0x400", 0);
    store("emi_cen0+0x400", 1 | 800'000ull << 32, 64);
    pass(1000);
    EXPECT_EQ(loads({"emi_cen0+0x400", "emi_cen0+0x420"}), (numbers{5, 0}));
    store("emi_cen0+0x400", 0, 64);
    store("emi_cen0+0x400", 1);
    EXPECT_EQ(load("emi_cen0+0x400"), 5u) << "a run of no cycles is done";
    EXPECT_TRUE(r->chip().hang("emi_cen0"));
    EXPECT_EQ(load("emi_cen0+0x400"), 1u);
}

class soc_chip : public bare_chip {};

// The bank of the first FIFO begins at 0x1c246800.
TEST_F(soc_chip, complains_of_accesses_that_a_block_does_not_have) {
    for (const auto &[place, width, complaint] :
         {std::tuple{"larb1+0x410", 64u, "larb1+0x410: 64-bit load, not for counter"},
          {"larb1+0x600", 32, "larb1+0x600: 32-bit load, no register there"},
          {"emi_cen0+0x420", 16, "emi_cen0+0x420: 16-bit load, not for all_ports_counter"},
          {"0x1c2469c0", 32, "fifo_mvop_y+0x1c0: 32-bit load, not for enable"},
          {"cpu_pri+0x1c", 32, "cpu_pri+0x1c: 32-bit load, not for range"},
          {"miu2gmc0+0x00", 16, "miu2gmc0+0x0: 16-bit load, not for control"},
          {"miu2gmc0+0x24", 32, "miu2gmc0+0x24: 32-bit load, no register there"}}) {
        load(place, width);
        EXPECT_EQ(r->chip().take_complaints(), lines{complaint});
    }
    store("larb1+0x410", 0, 64);
    EXPECT_EQ(r->chip().take_complaints(), lines{"larb1+0x410: 64-bit store, not for counter"});
}

TEST_F(soc_chip, refuses_sources_and_registers_that_it_lacks) {
    run({video});
    for (const source &missing :
         {source{source_kind::larb_port, 8, 0, {}}, source{source_kind::larb_port, 1, 32, {}},
          source{source_kind::common_input, 0, 6, {}}, source{source_kind::emi_port, 0, 12, {}}}) {
        EXPECT_THROW(run({missing}), std::runtime_error) << missing.block << ":" << missing.port;
    }
    for (const auto &[node, offset] :
         {std::pair("larb1", 0x600u), {"smi_common2", 0x1000}, {"nothing", 0}}) {
        EXPECT_THROW(r->chip().set_scenario({"", {}, {{node, offset, 1}}}), std::runtime_error)
            << node;
    }
    EXPECT_EQ(at_larb("larb1", 4), 1130u);
    r->chip().set_scenario({"", {video}, {{"larb1", 0x210, 16}}});
    EXPECT_EQ(at_larb("larb1", 4), 256u);
}

}  // namespace

}  // namespace tests
