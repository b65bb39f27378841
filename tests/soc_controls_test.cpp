// SPDX-License-Identifier: GPL-2.0-only
// What settings of the chip do to its traffic, against numbers worked out by hand.
#include "tests/bare_chip.h"

namespace tests {

namespace {

class soc_controls : public bare_chip {
  protected:
    // MB/s at an EMI port of one channel.
    std::uint64_t at_emi(const std::string &channel, std::uint32_t port) {
        store(channel + "+0x400", 0);
        store(channel + "+0x060", 1u << 30);
        store(channel + "+0x404", 800'000);
        store(channel + "+0xf00", 7 | 1u << (8 + port));
        store(channel + "+0xf2c", 0xf0000000);
        store(channel + "+0x400", 1);
        pass(1000);
        return load(channel + "+0x428") * 8 / 1000;
    }
};

// 16 transactions let 256 of 1130 MB/s through: 820 * 256 / 1130 = 185 of them reads. Requests have
// a priority in ultra and pre-ultra out of 1024.
TEST_F(soc_controls, of_a_larb_slow_down_give_priority_to_or_mask_a_port) {
    const auto priorities = [this](std::uint32_t port) {
        const numbers all = efficiency(0x100 | port, 0x7ff);
        return numbers{all[2], all[3]};
    };
    run({video, audio});
    store("larb1+0x210", 16);
    EXPECT_EQ(at_larb("larb1", 4), 256u);
    EXPECT_EQ(at_larb("larb1", 4, 0x204), 185'000u / 16 * 16 / 1000);
    EXPECT_EQ(at_emi("emi_cen0", 2) + at_emi("emi_cen1", 2), 656u);
    store("larb1+0x210", 0);
    EXPECT_EQ(at_larb("larb1", 4), 1130u);

    EXPECT_EQ(priorities(4), (numbers{205, 359}));
    store("larb1+0x7c", 1u << 4 | 1u << 5);
    EXPECT_EQ(priorities(4), (numbers{0, 1024}));
    store("larb1+0x78", 1u << 4);
    EXPECT_EQ(priorities(4), (numbers{1024, 0})) << "ultra wins";
    EXPECT_EQ(priorities(5), (numbers{0, 1024}));

    store("miu2gmc1+0x40", 1u << 4);
    EXPECT_EQ(at_larb("larb1", 4), 0u);
    EXPECT_EQ(at_larb("larb1", 5), 400u);
    EXPECT_EQ(at_emi("emi_cen0", 2), 200u);
    store("miu2gmc1+0x40", 0);
    EXPECT_EQ(at_larb("larb1", 4), 1130u);
}

// Port 2 wants 765 MB/s of channel 0: reads 410, writes 355. Limited to 300: reads 160, writes 140.
// With channel 1: reads 570 of 820, all video's; writes 495 of 710, of which video gets
// 310 * 495 / 710 = 216 and audio the rest.
TEST_F(soc_controls, bandwidth_limit_caps_one_channel_and_the_sources_share_what_is_left) {
    run({video, audio});
    store("emi_cen0+0x110", 0xff0000c0 | 3);
    EXPECT_EQ(at_emi("emi_cen0", 2), 300u);
    EXPECT_EQ(at_emi("emi_cen1", 2), 765u);
    EXPECT_EQ(at_larb("larb1", 4), 570u + 216);
    EXPECT_EQ(at_larb("larb1", 5), 279u);
    store("emi_cen0+0x110", 0);
    EXPECT_EQ(at_larb("larb1", 5), 400u);

    run({source{source_kind::emi_port, 0, 1, {600, 200, 90}}});
    store("emi_cen0+0x108", 1);
    EXPECT_EQ(at_emi("emi_cen0", 1), 400u) << "port 1 goes by port 0's limit";
    store("emi_cen0+0x100", 1);
    EXPECT_EQ(at_emi("emi_cen0", 1), 100u);
}

// 0x12 = 18 transactions of writes, 288 MB/s, in the nibbles of port 2; of 355 wanted. Port 10 has
// those of port 2.
TEST_F(soc_controls, outstanding_limit_of_the_emi_slows_one_direction_down) {
    run({video, audio});
    store({{"emi_cen1+0xd0", 0x2u << 20}, {"emi_cen1+0xd4", 0x1u << 20}});
    EXPECT_EQ(at_emi("emi_cen1", 2), 410u + 288);
    EXPECT_EQ(at_emi("emi_cen0", 2), 765u);
    EXPECT_EQ(at_larb("larb1", 4, 0x204), 820'000u / 16 * 16 / 1000);
    run({source{source_kind::emi_port, 0, 10, {0, 1000, 80}},
         source{source_kind::emi_port, 0, 6, {0, 1000, 80}}});
    EXPECT_EQ(at_emi("emi_cen1", 10), 288u);
    EXPECT_EQ(at_emi("emi_cen1", 6), 500u);
}

class soc_generator : public soc_controls {
  protected:
    // A pass of so many units of 16 bytes.
    void generate(std::uint32_t command, std::uint32_t units, std::uint32_t pattern = 0xa5a5) {
        store({{"miu2gmc0+0x00", 0},
               {"miu2gmc0+0x0c", units & 0xffff},
               {"miu2gmc0+0x10", units >> 16},
               {"miu2gmc0+0x14", pattern},
               {"miu2gmc0+0x00", command},
               {"miu2gmc0+0x00", command | 1}});
    }
    std::uint64_t control() { return load("miu2gmc0+0x00"); }
    std::uint64_t control_after(std::uint64_t us) {
        pass(us);
        return control();
    }
};

// 1600 MB/s in all: 160,000 bytes take 100 us in one direction, 200 us in both.
TEST_F(soc_generator, takes_its_time_and_is_traffic_meanwhile) {
    for (const auto &[command, us] : {std::pair(0x108u, 100u), {0x208, 100}, {8, 200}}) {
        SCOPED_TRACE(command);
        generate(command, 10'000);
        EXPECT_EQ(next_event(), us);
        EXPECT_EQ(control_after(us - 1), command | 1);
        EXPECT_EQ(control_after(1), 0x8001u | command);
    }
    store("miu2gmc0+0x00", 0);
    EXPECT_EQ(control(), 0u);
    generate(0x208, 0x10000000);
    EXPECT_EQ(at_larb("larb0", 31, 0x208), 1600u);
    EXPECT_EQ(at_larb("larb0", 31, 0x204), 0u);
    EXPECT_EQ(at_emi("emi_cen1", 2), 800u);
    store("miu2gmc0+0x00", 0);
    EXPECT_EQ(at_larb("larb0", 31), 0u);
    generate(0x208, 10'000);
    EXPECT_EQ(at_larb("larb0", 31), 160u);
    EXPECT_EQ(control(), 0x8209u);
}

TEST_F(soc_generator, starts_with_a_whole_pair_only) {
    store("miu2gmc0+0x0c", 1);
    for (const std::uint32_t value : {0x109, 0x108, 0x209, 0x108, 0x108, 0x408, 0x409}) {
        store("miu2gmc0+0x00", value);
        EXPECT_EQ(control_after(1), value);
    }
    generate(0x108, 0);
    EXPECT_EQ(control(), 0x8109u);
}

TEST_F(soc_generator, fails_on_stuck_bits_of_its_pattern_and_is_never_done_when_it_hangs) {
    store("miu2gmc0+0x80", 0x0010);
    generate(0x108, 1, 0xa5a5);
    EXPECT_EQ(control_after(1), 0x8109u);
    generate(0x108, 1, 0x5a5a);
    EXPECT_EQ(control_after(1), 0xa109u);
    EXPECT_TRUE(r->chip().hang("miu2gmc0"));
    EXPECT_EQ(control(), 0x109u);
    generate(0x108, 1);
    EXPECT_EQ(at_larb("larb0", 31), 1600u);
    EXPECT_EQ(control(), 0x109u);
}

// At 16 transactions, 256 MB/s, 160,000 bytes take 625 us. After 125 us 128,000 are left.
TEST_F(soc_generator, takes_longer_behind_a_limit_and_for_ever_behind_a_mask) {
    store("larb0+0x27c", 16);
    generate(0x108, 10'000);
    EXPECT_EQ(next_event(), 625u);
    pass(125);
    store("larb0+0x27c", 0);
    EXPECT_EQ(next_event(), 80u);
    store("miu2gmc0+0x40", 1u << 31);
    EXPECT_EQ(next_event(), std::nullopt);
    EXPECT_EQ(control_after(1'000'000), 0x109u);
    store("miu2gmc0+0x40", 0);
    EXPECT_EQ(control_after(80), 0x8109u);
}

// 1,030 us into passes of 100 us, 70 us are left of the eleventh one.
TEST_F(soc_generator, loops_until_the_bit_is_cleared_and_ends_the_pass) {
    for (const bool gen1 : {false, true}) {
        SCOPED_TRACE(gen1 ? "older register" : "newer register");
        const char *loop = gen1 ? "miu2gmc0+0x1c" : "miu2gmc0+0x20";
        const char *other = gen1 ? "miu2gmc0+0x20" : "miu2gmc0+0x1c";
        if (gen1) {
            power_on(board().with_property("/bw_modules/bw_bist", "loop-mode-gen1", ""));
        }
        store(other, 0x10);
        generate(0x108, 1);
        EXPECT_EQ(control_after(1), 0x8109u);
        store(loop, 0x10);
        generate(0x108, 10'000);
        EXPECT_EQ(control_after(1030), 0x109u);
        store(loop, 0);
        EXPECT_EQ(next_event(), 70u);
        EXPECT_EQ(control_after(70), 0x8109u);
    }
}

// The banks of MVOP, whose port is the video's, and of FRC, which has a group in each of two parts.
// 1130 - 256 = 874 MB/s of the video are missing, then 1130 with the port masked.
TEST_F(soc_controls, fifo_is_not_done_while_its_module_is_held_back) {
    const lines mvop = {"0x1c246940", "0x1c2469c8"};
    const lines frc = {"0x1c248140", "0x1c2481c8"};
    run({video, audio, source{source_kind::larb_port, 6, 1, {500, 0, 80}}});
    store({{"larb1+0x210", 16}, {"larb6+0x204", 16}, {"0x1c2481c0", 1}});
    EXPECT_EQ(loads(mvop), (numbers{0, 0})) << "not switched on";
    EXPECT_EQ(loads(frc), (numbers{244, 4}));
    store("0x1c2469c0", 1);
    EXPECT_EQ(loads(mvop), (numbers{874, 4}));
    store("miu2gmc1+0x40", 1u << 4);
    EXPECT_EQ(loads(mvop), (numbers{1130, 4}));
    store({{"miu2gmc1+0x40", 0}, {"larb1+0x210", 0}});
    EXPECT_EQ(loads(mvop), (numbers{0, 0}));
    r->chip().set_scenario({"", {}, {{"fifo_mvop_y", 0x140, 1}, {"fifo_mvop_y", 0x1c8, 4}}});
    pass(1000);
    store("0x1c2469c0", 0);
    EXPECT_EQ(loads(mvop), (numbers{1, 4})) << "set by the scenario";
}

}  // namespace

}  // namespace tests
