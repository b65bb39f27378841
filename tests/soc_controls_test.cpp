// SPDX-License-Identifier: GPL-2.0-only
// What settings of the chip do to its traffic, against numbers worked out by hand.
#include "tests/bare_chip.h"

namespace tests {

namespace {

class soc_controls : public bare_chip {
  protected:
    // MB/s at an EMI port of one channel.
    std::uint64_t at_emi(const std::string &channel, std::uint32_t port) {
        play(channel, "400=0 60=40000000 404=%x f00=%x f2c=f0000000 400=1 ~1000", 800'000,
             7 | 1u << (8 + port));
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
    play("larb1", "210=10");
    EXPECT_EQ(at_larb("larb1", 4), 256u);
    EXPECT_EQ(at_larb("larb1", 4, 0x204), 185'000u / 16 * 16 / 1000);
    EXPECT_EQ(at_emi("emi_cen0", 2) + at_emi("emi_cen1", 2), 656u);
    play("larb1", "210=0");
    EXPECT_EQ(at_larb("larb1", 4), 1130u);

    EXPECT_EQ(priorities(4), (numbers{205, 359}));
    play("larb1", "7c=30");
    EXPECT_EQ(priorities(4), (numbers{0, 1024}));
    play("larb1", "78=10");
    EXPECT_EQ(priorities(4), (numbers{1024, 0})) << "ultra wins";
    EXPECT_EQ(priorities(5), (numbers{0, 1024}));

    play("miu2gmc1", "40=10");
    EXPECT_EQ(at_larb("larb1", 4), 0u);
    EXPECT_EQ(at_larb("larb1", 5), 400u);
    EXPECT_EQ(at_emi("emi_cen0", 2), 200u);
    play("miu2gmc1", "40=0");
    EXPECT_EQ(at_larb("larb1", 4), 1130u);
}

// Port 2 wants 765 MB/s of channel 0: reads 410, writes 355. Limited to 300: reads 160, writes 140.
// With channel 1: reads 570 of 820, all video's; writes 495 of 710, of which video gets
// 310 * 495 / 710 = 216 and audio the rest.
TEST_F(soc_controls, bandwidth_limit_caps_one_channel_and_the_sources_share_what_is_left) {
    run({video, audio});
    play("emi_cen0", "110=ff0000c3");
    EXPECT_EQ(at_emi("emi_cen0", 2), 300u);
    EXPECT_EQ(at_emi("emi_cen1", 2), 765u);
    EXPECT_EQ(at_larb("larb1", 4), 570u + 216);
    EXPECT_EQ(at_larb("larb1", 5), 279u);
    play("emi_cen0", "110=0");
    EXPECT_EQ(at_larb("larb1", 5), 400u);

    run({source{source_kind::emi_port, 0, 1, {600, 200, 90}}});
    play("emi_cen0", "108=1");
    EXPECT_EQ(at_emi("emi_cen0", 1), 400u) << "port 1 goes by port 0's limit";
    play("emi_cen0", "100=1");
    EXPECT_EQ(at_emi("emi_cen0", 1), 100u);
}

// 0x12 = 18 transactions of writes, 288 MB/s, in the nibbles of port 2; of 355 wanted. Port 10 has
// those of port 2.
TEST_F(soc_controls, outstanding_limit_of_the_emi_slows_one_direction_down) {
    run({video, audio});
    play("emi_cen1", "d0=200000 d4=100000");
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
        play("miu2gmc0", "0=0 c=%x 10=%x 14=%x 0=%x 0=%x", units & 0xffff, units >> 16, pattern,
             command, command | 1);
    }
};

// 1600 MB/s in all: 160,000 bytes take 100 us in one direction, 200 us in both.
TEST_F(soc_generator, takes_its_time_and_is_traffic_meanwhile) {
    for (const auto &[command, us] : {std::pair(0x108u, 100u), {0x208, 100}, {8, 200}}) {
        SCOPED_TRACE(command);
        generate(command, 10'000);
        EXPECT_EQ(next_event(), us);
        play("miu2gmc0", "~%u 0?%x ~1 0?%x", us - 1, command | 1, command | 0x8001);
    }
    play("miu2gmc0", "0=0 0?0");
    generate(0x208, 0x10000000);
    EXPECT_EQ(at_larb("larb0", 31, 0x208), 1600u);
    EXPECT_EQ(at_larb("larb0", 31, 0x204), 0u);
    EXPECT_EQ(at_emi("emi_cen1", 2), 800u);
    play("miu2gmc0", "0=0");
    EXPECT_EQ(at_larb("larb0", 31), 0u);
    generate(0x208, 10'000);
    EXPECT_EQ(at_larb("larb0", 31), 160u);
    play("miu2gmc0", "0?8209");
}

TEST_F(soc_generator, starts_with_a_whole_pair_only) {
    play("miu2gmc0", "c=1 0=109 ~1 0?109 0=108 ~1 0?108 0=209 ~1 0?209 0=108 ~1 0?108");
    play("miu2gmc0", "0=108 ~1 0?108 0=408 ~1 0?408 0=409 ~1 0?409");
    generate(0x108, 0);
    play("miu2gmc0", "0?8109");
}

TEST_F(soc_generator, fails_on_stuck_bits_of_its_pattern_and_is_never_done_when_it_hangs) {
    play("miu2gmc0", "80=10");
    generate(0x108, 1, 0xa5a5);
    play("miu2gmc0", "~1 0?8109");
    generate(0x108, 1, 0x5a5a);
    play("miu2gmc0", "~1 0?a109");
    EXPECT_TRUE(r->chip().hang("miu2gmc0"));
    play("miu2gmc0", "0?109");
    generate(0x108, 1);
    EXPECT_EQ(at_larb("larb0", 31), 1600u);
    play("miu2gmc0", "0?109");
}

// At 16 transactions, 256 MB/s, 160,000 bytes take 625 us. After 125 us 128,000 are left.
TEST_F(soc_generator, takes_longer_behind_a_limit_and_for_ever_behind_a_mask) {
    play("larb0", "27c=10");
    generate(0x108, 10'000);
    EXPECT_EQ(next_event(), 625u);
    pass(125);
    play("larb0", "27c=0");
    EXPECT_EQ(next_event(), 80u);
    play("miu2gmc0", "40=80000000");
    EXPECT_EQ(next_event(), std::nullopt);
    play("miu2gmc0", "~1000000 0?109 40=0 ~80 0?8109");
}

// 1,030 us into passes of 100 us, 70 us are left of the eleventh one.
TEST_F(soc_generator, loops_until_the_bit_is_cleared_and_ends_the_pass) {
    for (const bool gen1 : {false, true}) {
        SCOPED_TRACE(gen1 ? "older register" : "newer register");
        const unsigned loop = gen1 ? 0x1c : 0x20;
        const unsigned other = gen1 ? 0x20 : 0x1c;
        if (gen1) {
            power_on(board().with_property("/bw_modules/bw_bist", "loop-mode-gen1", ""));
        }
        play("miu2gmc0", "%x=10", other);
        generate(0x108, 1);
        play("miu2gmc0", "~1 0?8109 %x=10", loop);
        generate(0x108, 10'000);
        play("miu2gmc0", "~1030 0?109 %x=0", loop);
        EXPECT_EQ(next_event(), 70u);
        play("miu2gmc0", "~70 0?8109");
    }
}

// The banks of MVOP, whose port is the video's, and of FRC, which has a group in each of two parts.
// 1130 - 256 = 874 MB/s of the video are missing, then 1130 with the port masked.
TEST_F(soc_controls, fifo_is_not_done_while_its_module_is_held_back) {
    const std::string mvop = "0x1c246800";
    const std::string frc = "0x1c248000";
    run({video, audio, source{source_kind::larb_port, 6, 1, {500, 0, 80}}});
    play("larb1", "210=10");
    play("larb6", "204=10");
    play(mvop, "140?0 1c8?0");
    play(frc, "1c0=1 140?%x 1c8?4", 244);
    play(mvop, "1c0=1 140?%x 1c8?4", 874);
    play("miu2gmc1", "40=10");
    play(mvop, "140?%x 1c8?4", 1130);
    play("miu2gmc1", "40=0");
    play("larb1", "210=0");
    play(mvop, "140?0 1c8?0");
    r->chip().set_scenario({"", {}, {{"fifo_mvop_y", 0x140, 1}, {"fifo_mvop_y", 0x1c8, 4}}});
    play(mvop, "~1000 1c0=0 140?1 1c8?4");
}

}  // namespace

}  // namespace tests
