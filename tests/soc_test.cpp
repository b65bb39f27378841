// SPDX-License-Identifier: GPL-2.0-only
// What the reports don't show of the chip's monitors, against numbers worked out by hand.
#include "tests/bare_chip.h"

namespace tests {

namespace {

class soc_monitors : public bare_chip {};

TEST_F(soc_monitors, efficiency_needs_arming_time_configuration_and_power) {
    const numbers nothing(4);
    run({video});
    play("effi_monitor0", "0=10");
    EXPECT_EQ(next_event(), std::nullopt) << "not armed";
    play("effi_monitor0", "0=8 0=58");
    EXPECT_EQ(next_event(), 800u);
    play("effi_monitor0", "~799 34?0 2c?0 ~1 34?1 2c?%x 0=48 2c?%x", 78, 78);
    play("effi_monitor0", "0=1 0=0 ~10000 34?0");
    EXPECT_EQ(results(), nothing) << "reset";
    r->chip().power_lost();
    play("effi_monitor0", "c?0");
    EXPECT_EQ(efficiency(0, 0), nothing) << "not configured";
    play("effi_monitor0", "28=5d58");
    EXPECT_EQ(efficiency(0, 0)[1], 78u);
    EXPECT_TRUE(r->chip().hang("effi_monitor0"));
    play("effi_monitor0", "0=8 0=18 ~1000000 34?0");
    EXPECT_FALSE(r->chip().hang("effi_monitor99"));
}

// Port 2 (the larb's 1130 MB/s) in slot 0, port 8 (1001 MB/s) in slot 5.
class soc_channels : public bare_chip {
  protected:
    void start(bool broadcast) {
        run({video, source{source_kind::emi_port, 0, 8, {1001, 0, 90}}});
        play("emi_dispatch0", broadcast ? "100=7f7f 104=2" : "100=0 104=0");
        play("emi_cen0", "60=40000000 400=0 404=%x f00=407 f14=10007", 800'000);
        play("emi_cen0", "f2c=f0000000 f40=f0000000 400=1");
    }
};

// Channel 1's window ends where SMI common 0 begins.
TEST_F(soc_channels, get_what_is_broadcast_within_their_window_alone) {
    const std::string window("\0\0\0\0\x1c\x45\xfc\0\0\0\0\0\0\0\x04\0", 16);
    power_on(board().with_property("/soc/emi_cen1@1c441000", "reg", window));
    start(true);
    play("emi_cen0", "100=7");
    play("emi_cen1", "100?7");
    EXPECT_EQ(r->peek("smi_common0+0x00"), 0u);
    EXPECT_EQ(r->peek("smi_common0+0x04"), 0u);
}

TEST_F(soc_channels, run_alone_without_broadcast_and_count_only_when_enabled) {
    start(false);
    play("emi_cen0", "~1000 428?%x", 565'000 / 8);
    play("emi_cen1", "400?0 428?0");
    play("emi_cen0", "q60=0 400=0 q400=%x00000001 ~1000 400?5 420?0", 800'000);
    play("emi_cen0", "q400=0 400=1 400?5");
    EXPECT_TRUE(r->chip().hang("emi_cen0"));
    play("emi_cen0", "400?1");
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
        r->chip().load(r->simulator().address_of(place), width);
        EXPECT_EQ(r->chip().take_complaints(), lines{complaint});
    }
    play("larb1", "q410=0");
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
