// SPDX-License-Identifier: GPL-2.0-only
// What settings of the chip do to its traffic, against numbers worked out by hand.
#include "tests/bare_chip.h"
#include "tests/rig.h"

namespace tests {

namespace {

class soc_controls : public bare_chip {
  protected:
    // MB/s at an EMI port of one channel.
    std::uint64_t at_emi(const char *channel, std::uint32_t port) {
        store(channel, 0x400, 0);
        count(channel, 0x400,
              {{0x060, 1u << 30},
               {0x404, 800'000},
               {0xf00, 7 | 1u << (8 + port)},
               {0xf2c, 0xf0000000}});
        return load(channel, 0x428) * 8 / 1000;
    }
    // Ultra and pre-ultra requests out of 1024 of larb4's port.
    numbers priorities(std::uint32_t port) {
        const numbers all = efficiency("effi_monitor0", 0x100 | port, 0x7ff);
        return {all[2], all[3]};
    }

    // A pass of so many units of 16 bytes.
    void generate(std::uint32_t command, std::uint32_t units, std::uint32_t pattern = 0xa5a5) {
        store("miu2gmc0", 0x00, 0);
        store("miu2gmc0", 0x0c, units & 0xffff);
        store("miu2gmc0", 0x10, units >> 16);
        store("miu2gmc0", 0x14, pattern);
        store("miu2gmc0", 0x00, command);
        store("miu2gmc0", 0x00, command | 1);
    }
    std::uint64_t generator() { return load("miu2gmc0", 0x00); }
    std::uint64_t generator_after(std::uint64_t ns) {
        pass_ns(ns);
        return generator();
    }
};

// 16 transactions let 256 of 1130 MB/s through: 820 * 256 / 1130 = 185 of them reads.
TEST_F(soc_controls, larb_limit_slows_a_port_down_all_the_way_to_the_memory) {
    run({video, audio});
    store("larb4", 0x208, 16);
    EXPECT_EQ(at_larb("larb4", 2), 256u);
    EXPECT_EQ(at_larb("larb4", 2, 0x204), 185'000u / 16 * 16 / 1000);
    EXPECT_EQ(at_common(0, 1), (71 + 400) * 1000u / 16);
    EXPECT_EQ(at_emi("emi_cen0", 2) + at_emi("emi_cen1", 2), 656u);
    store("larb4", 0x208, 0);
    EXPECT_EQ(at_larb("larb4", 2), 1130u);
}

TEST_F(soc_controls, forced_priority_replaces_the_shares_and_ultra_wins) {
    run({video, audio});
    EXPECT_EQ(priorities(2), (numbers{205, 359}));
    store("larb4", 0x7c, 1u << 2 | 1u << 5);
    EXPECT_EQ(priorities(2), (numbers{0, 1024}));
    store("larb4", 0x78, 1u << 2);
    EXPECT_EQ(priorities(2), (numbers{1024, 0}));
    EXPECT_EQ(priorities(5), (numbers{0, 1024}));
}

// Port 2 wants 765 MB/s of channel 0: reads 410, writes 355. Limited to 300: reads 160, writes 140.
// With channel 1: reads 570 of 820, all video's; writes 495 of 710, of which video gets
// 310 * 495 / 710 = 216 and audio the rest.
TEST_F(soc_controls, bandwidth_limit_caps_one_channel_and_the_sources_share_what_is_left) {
    run({video, audio});
    store("emi_cen0", 0x110, 0xff0000c0 | 3);
    EXPECT_EQ(at_emi("emi_cen0", 2), 300u);
    EXPECT_EQ(at_emi("emi_cen1", 2), 765u);
    EXPECT_EQ(at_larb("larb4", 2), 570u + 216);
    EXPECT_EQ(at_larb("larb4", 5), 279u);
    EXPECT_EQ(at_common(0, 1), 495'000u / 16);
    store("emi_cen0", 0x110, 0);
    EXPECT_EQ(at_larb("larb4", 5), 400u);
}

TEST_F(soc_controls, ports_0_and_1_share_a_bandwidth_limit) {
    run({source{source_kind::emi_port, 0, 1, {600, 200, 90}}});
    store("emi_cen0", 0x108, 1);
    EXPECT_EQ(at_emi("emi_cen0", 1), 400u);
    store("emi_cen0", 0x100, 1);
    EXPECT_EQ(at_emi("emi_cen0", 1), 100u);
}

// 0x12 = 18 transactions of writes, 288 MB/s, in the nibbles of port 2; of 355 wanted.
TEST_F(soc_controls, outstanding_limit_of_the_emi_slows_one_direction_down) {
    run({video, audio});
    store("emi_cen1", 0xd0, 0x2u << 20);
    store("emi_cen1", 0xd4, 0x1u << 20);
    EXPECT_EQ(at_emi("emi_cen1", 2), 410u + 288);
    EXPECT_EQ(at_emi("emi_cen0", 2), 765u);
    EXPECT_EQ(at_larb("larb4", 2, 0x204), 820'000u / 16 * 16 / 1000);
    run({source{source_kind::emi_port, 0, 10, {0, 1000, 80}},
         source{source_kind::emi_port, 0, 6, {0, 1000, 80}}});
    EXPECT_EQ(at_emi("emi_cen1", 10), 288u);
    EXPECT_EQ(at_emi("emi_cen1", 6), 500u);
}

TEST_F(soc_controls, channels_are_those_that_the_tree_has) {
    for (const std::uint32_t claimed : {1u, 0xffffffffu}) {
        power_on(compiled(board).with_u32("/emi_arch", "emi_cnt", claimed));
        run({video});
        EXPECT_EQ(at_emi("emi_cen1", 2), 1130u / 2);
    }
}

TEST_F(soc_controls, masked_port_falls_silent) {
    run({video, audio});
    store("miu2gmc4", 0x40, 1u << 2);
    EXPECT_EQ(at_larb("larb4", 2), 0u);
    EXPECT_EQ(at_larb("larb4", 5), 400u);
    EXPECT_EQ(at_emi("emi_cen0", 2), 200u);
    store("miu2gmc4", 0x40, 0);
    EXPECT_EQ(at_larb("larb4", 2), 1130u);
}

// 0x1000 units are 64 KiB: 40.96 us in one direction, 81.92 us in both.
TEST_F(soc_controls, generator_takes_its_time_and_is_traffic_meanwhile) {
    for (const auto &[command, ns] : {std::pair(0x108u, 40'960ul), {0x208, 40'960}, {8, 81'920}}) {
        generate(command, 0x1000);
        EXPECT_EQ(chip->next_event(), now_ns + ns);
        EXPECT_EQ(generator_after(ns - 1), command | 1);
        EXPECT_EQ(generator_after(1), 0x8001u | command);
    }
    store("miu2gmc0", 0x00, 0);
    EXPECT_EQ(generator(), 0u);
    generate(0x208, 0x10000000);
    EXPECT_EQ(at_larb("larb0", 31, 0x208), 1600u);
    EXPECT_EQ(at_larb("larb0", 31, 0x204), 0u);
    EXPECT_EQ(at_emi("emi_cen1", 2), 800u);
    store("miu2gmc0", 0x00, 0);
    EXPECT_EQ(at_larb("larb0", 31), 0u);
    generate(0x208, 0x1000);
    EXPECT_EQ(at_larb("larb0", 31), 0x10000u / 1000);
    EXPECT_EQ(generator(), 0x8209u);
}

TEST_F(soc_controls, generator_starts_with_a_whole_pair_only) {
    store("miu2gmc0", 0x0c, 1);
    for (const std::uint32_t value : {0x109, 0x108, 0x209, 0x108, 0x108, 0x408, 0x409}) {
        store("miu2gmc0", 0x00, value);
        EXPECT_EQ(generator_after(1000), value);
    }
    generate(0x108, 0);
    EXPECT_EQ(generator(), 0x8109u);
}

TEST_F(soc_controls, generator_fails_on_stuck_bits_of_its_pattern) {
    store("miu2gmc0", 0x80, 0x0010);
    generate(0x108, 1, 0xa5a5);
    EXPECT_EQ(generator_after(10), 0x8109u);
    generate(0x108, 1, 0x5a5a);
    EXPECT_EQ(generator_after(10), 0xa109u);
}

// At 16 transactions, 256 MB/s, 64 KiB take 256 us.
TEST_F(soc_controls, generator_behind_a_limit_takes_longer_and_behind_a_mask_for_ever) {
    store("larb0", 0x27c, 16);
    generate(0x108, 0x1000);
    EXPECT_EQ(chip->next_event(), now_ns + 256'000);
    pass(128);
    store("larb0", 0x27c, 0);
    EXPECT_EQ(chip->next_event(), now_ns + 20'480);
    store("miu2gmc0", 0x40, 1u << 31);
    EXPECT_EQ(chip->next_event(), std::nullopt);
    EXPECT_EQ(generator_after(1'000'000'000), 0x109u);
    store("miu2gmc0", 0x40, 0);
    EXPECT_EQ(generator_after(20'480), 0x8109u);
}

TEST_F(soc_controls, generator_that_hangs_moves_data_and_is_never_done) {
    generate(0x108, 1);
    pass(1);
    EXPECT_TRUE(chip->hang("miu2gmc0"));
    EXPECT_EQ(generator(), 0x109u);
    generate(0x108, 1);
    EXPECT_EQ(at_larb("larb0", 31), 1600u);
    EXPECT_EQ(generator(), 0x109u);
}

// 100 us into passes of 40.96 us, 22.88 us are left of the third one.
TEST_F(soc_controls, generator_loops_until_the_bit_is_cleared_and_ends_the_pass) {
    for (const bool gen1 : {false, true}) {
        const std::uint32_t loop = gen1 ? 0x1c : 0x20;
        if (gen1) {
            power_on(tree->with_property("/bw_bist", "loop-mode-gen1", ""));
        }
        store("miu2gmc0", 0x1c, gen1 ? 0 : 0x10);
        store("miu2gmc0", 0x20, gen1 ? 0x10 : 0);
        generate(0x108, 1);
        EXPECT_EQ(generator_after(10), 0x8109u);
        store("miu2gmc0", loop, 0x10);
        generate(0x108, 0x1000);
        EXPECT_EQ(generator_after(100'000), 0x109u);
        store("miu2gmc0", loop, 0);
        EXPECT_EQ(chip->next_event(), now_ns + 22'880);
        EXPECT_EQ(generator_after(22'880), 0x8109u);
    }
}

// 1130 - 256 = 874 MB/s of the video are missing, then 1130 with the port masked.
TEST_F(soc_controls, fifo_is_not_done_while_its_module_is_held_back) {
    const auto shown = [this] { return loads("fifo_vdec", {0x140, 0x1c8}); };

    run({video, audio});
    store("larb4", 0x208, 16);
    EXPECT_EQ(shown(), (numbers{0, 0}));
    store("fifo_vdec", 0x1c0, 1);
    EXPECT_EQ(shown(), (numbers{874, 4}));
    store("miu2gmc4", 0x40, 1u << 2);
    EXPECT_EQ(shown(), (numbers{1130, 4}));
    store("miu2gmc4", 0x40, 0);
    store("larb4", 0x208, 0);
    EXPECT_EQ(shown(), (numbers{0, 0}));
    chip->set_scenario({"", {}, {{"fifo_vdec", 0x140, 1}, {"fifo_vdec", 0x1c8, 4}}});
    pass(1000);
    store("fifo_vdec", 0x1c0, 0);
    EXPECT_EQ(shown(), (numbers{1, 4}));
}

}  // namespace

TEST(port_masks, are_set_in_the_block_and_every_request_is_kept) {
    rig r;
    r.loaded();
    for (const char *text : {"1 3 1\n", "1 31 5\n", "1 3 0\n", "0 32 1\n", "0 -1 1\n", "9 0 1\n"}) {
        r.write("mask", text);
    }
    EXPECT_EQ(r.peek("miu2gmc1+0x40"), 1u << 31);
    r.machine().fail_named(host::fault_kind::mask, "");
    r.write("mask", "1 3 1\n");
    EXPECT_EQ(r.peek("miu2gmc1+0x40"), 1u << 31);
    r.machine().clear_faults();
    r.write("mask", "1 31 0\n");
    EXPECT_EQ(r.peek("miu2gmc1+0x40"), 0u);
    const std::vector<host::mask_request> expected{
        {1, 3, true, 0},    {1, 31, true, 0},  {1, 3, false, 0},  {0, 32, true, -22},
        {0, -1, true, -22}, {9, 0, true, -19}, {1, 3, true, -22}, {1, 31, false, 0},
    };
    EXPECT_TRUE(r.machine().take_mask_requests() == expected);
}

}  // namespace tests
