// SPDX-License-Identifier: GPL-2.0-only
// What settings of the chip do to its traffic, against numbers worked out by hand.
#include <fstream>

#include "soc/chip.h"
#include "tests/rig.h"

namespace tests {

namespace {

using soc::source;
using soc::source_kind;

// Peak of a channel: 32 / 8 * 3200 / 2 = 6400 MB/s, so a 64th of it is 100 MB/s. larb4 is at input
// 1 of SMI common 0, which leads to EMI port 2; larb0, where the generator enters, is at input 0.
constexpr const char *board = R"(/dts-v1/;
/ { #address-cells = <1>; #size-cells = <1>;
    dram_config { bus_width = <32>; dram_clock = <3200>; emi_clock = <800>; smi_clock = <600>; };
    emi_arch { emi_cnt = <2>; emi_port_cnt = <12>; };
    common0: smi_common0@1c010000 { reg = <0x1c010000 0x1000>;
        input-port-nr = <4>; output-port-nr = <2>; };
    larb0@1c020000 { reg = <0x1c020000 0x1000>; quorix,smi-port-id = <0>; quorix,smi = <&common0>; };
    larb4@1c024000 { reg = <0x1c024000 0x1000>; quorix,smi-port-id = <1>; quorix,smi = <&common0>; };
    emi_cen0@1c030000 { reg = <0x1c030000 0x1000>; };
    emi_cen1@1c031000 { reg = <0x1c031000 0x1000>; };
    emi_dispatch0@1c032000 { reg = <0x1c032000 0x1000>; };
    effi_monitor0@1c040000 { reg = <0x1c040000 0x100>; compatible = "quorix,zt420-effi-mon"; };
    miu2gmc0@1c050000 { reg = <0x1c050000 0x1000>; };
    miu2gmc4@1c054000 { reg = <0x1c054000 0x1000>; };
    cpu_pri@1c060000 { reg = <0x1c060000 0x1000>; };
    bw_bist { device_type = "bw"; module-name = "BIST";
        engine0 { larb-id = <0>; port-list = <31>; }; };
    bw_vdec { device_type = "bw"; module-name = "VDEC"; mix-module;
        part { ports { larb-id = <4>; port-list = <2 5>; }; }; };
    fifo_vdec { device_type = "fifo"; module-name = "VDEC"; riu-base = <0x400>; };
};)";

devicetree::flat_tree board_tree() {
    const auto *const test = testing::UnitTest::GetInstance()->current_test_info();
    const auto file =
        std::filesystem::path(testing::TempDir()) / (std::string(test->name()) + ".dts");
    std::ofstream(file) << board;
    auto tree = devicetree::flat_tree::from_file(file);
    std::filesystem::remove(file);
    return tree;
}

const source video{source_kind::larb_port, 4, 2, {820, 310, 78, 20, 35, 7, 350, 120}};
const source audio{source_kind::larb_port, 4, 5, {0, 400, 50, 0, 100, 4, 100, 60}};
const source cpu{source_kind::emi_port, 0, 1, {600, 200, 90, 0, 0, 8, 101, 50}};

constexpr std::uint64_t fifo = 0x1c080000;

class soc_controls : public testing::Test {
  protected:
    explicit soc_controls(devicetree::flat_tree chips_tree = board_tree())
        : tree(std::move(chips_tree)), chip(tree, registers) {
        store("effi_monitor0", 0x0c, 1);
    }
    void TearDown() override { EXPECT_EQ(chip.take_complaints(), lines{}); }

    std::uint64_t address(const char *node) const { return tree.by_name(node)->reg.at(0).start; }
    void store_at(std::uint64_t address, std::uint64_t value, unsigned width = 32) {
        registers.set(address, width, value);
        chip.stored(address, width);
    }
    std::uint64_t load_at(std::uint64_t address, unsigned width = 32) {
        const std::uint64_t value = registers.get(address, width);
        chip.loaded(address, width);
        return value;
    }
    void store(const char *node, std::uint32_t offset, std::uint64_t value, unsigned width = 32) {
        store_at(address(node) + offset, value, width);
    }
    std::uint64_t load(const char *node, std::uint32_t offset, unsigned width = 32) {
        return load_at(address(node) + offset, width);
    }
    void pass_ns(std::uint64_t ns) { chip.advance(now_ns += ns); }
    void pass(std::uint64_t us) { pass_ns(us * 1000); }
    void run(std::vector<source> sources) { chip.set_scenario({"", std::move(sources), {}}); }

    // MB/s, each measured for a millisecond.
    std::uint64_t at_larb(const char *larb, std::uint32_t port) {
        return count(larb, {{0x404, 1}, {0x40c, 0x400}, {0x408, port}}, 0x400, 0x410) / 1000;
    }
    std::uint64_t at_larb(const char *larb, std::uint32_t port, std::uint32_t mode) {
        return count(larb, {{0x404, 1}, {0x40c, mode}, {0x408, port}}, 0x400, 0x418) * 16 / 1000;
    }
    // Writes that leave by path 0, in whole 16 bytes.
    std::uint64_t common_writes() {
        return count("smi_common0", {{0x1a4, 1}, {0x1b0, 1}, {0x1ac, 1}}, 0x1a0, 0x1cc);
    }
    std::uint64_t at_emi(const char *channel, std::uint32_t port) {
        store(channel, 0x400, 0);
        return count(channel,
                     {{0x060, 1u << 30},
                      {0x404, 800'000},
                      {0xf00, 7 | 1u << (8 + port)},
                      {0xf2c, 0xf0000000}},
                     0x400, 0x428) *
               8 / 1000;
    }
    std::uint64_t count(const char *node,
                        std::vector<std::pair<std::uint32_t, std::uint32_t>> setup,
                        std::uint32_t run, std::uint32_t counter) {
        for (const auto &[offset, value] : setup) {
            store(node, offset, value);
        }
        store(node, run, 1);
        pass(1000);
        store(node, run, 0);
        return load(node, counter);
    }
    // Ultra and pre-ultra requests out of 1024 of larb4's port.
    std::pair<std::uint64_t, std::uint64_t> priorities(std::uint32_t port) {
        store("effi_monitor0", 0x04, 0x100 | port);
        store("effi_monitor0", 0x08, 0x7ff);
        store("effi_monitor0", 0x00, 0x08);
        store("effi_monitor0", 0x00, 0x18 | 2u << 6);
        pass(800);
        const std::uint64_t ultra = load("effi_monitor0", 0x2c);
        store("effi_monitor0", 0x00, 0x18 | 3u << 6);
        return {ultra, load("effi_monitor0", 0x2c)};
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

    const devicetree::flat_tree tree;
    soc::register_file registers;
    soc::chip chip;
    std::uint64_t now_ns = 0;
};

// 16 transactions let 256 of 1130 MB/s through: 820 * 256 / 1130 = 185 of them reads.
TEST_F(soc_controls, larb_limit_slows_a_port_down_all_the_way_to_the_memory) {
    run({video, audio});
    store("larb4", 0x208, 16);
    EXPECT_EQ(at_larb("larb4", 2), 256u);
    EXPECT_EQ(at_larb("larb4", 2, 0x204), 185'000u / 16 * 16 / 1000);
    EXPECT_EQ(common_writes(), (71 + 400) * 1000u / 16);
    EXPECT_EQ(at_emi("emi_cen0", 2) + at_emi("emi_cen1", 2), 656u);
    store("larb4", 0x208, 0);
    EXPECT_EQ(at_larb("larb4", 2), 1130u);
}

TEST_F(soc_controls, forced_priority_replaces_the_shares_and_ultra_wins) {
    run({video, audio});
    EXPECT_EQ(priorities(2), std::pair(205ul, 359ul));
    store("larb4", 0x7c, 1u << 2 | 1u << 5);
    EXPECT_EQ(priorities(2), std::pair(0ul, 1024ul));
    store("larb4", 0x78, 1u << 2);
    EXPECT_EQ(priorities(2), std::pair(1024ul, 0ul));
    EXPECT_EQ(priorities(5), std::pair(0ul, 1024ul));
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
    EXPECT_EQ(common_writes(), 495'000u / 16);
    store("emi_cen0", 0x110, 0);
    EXPECT_EQ(at_larb("larb4", 5), 400u);
}

TEST_F(soc_controls, ports_0_and_1_share_a_bandwidth_limit) {
    run({cpu});
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
        EXPECT_EQ(chip.next_event(), now_ns + ns);
        pass_ns(ns - 1);
        EXPECT_EQ(load("miu2gmc0", 0x00), command | 1);
        pass_ns(1);
        EXPECT_EQ(load("miu2gmc0", 0x00), 0x8001u | command);
    }
    store("miu2gmc0", 0x00, 0);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0u);
    generate(0x208, 0x10000000);
    EXPECT_EQ(at_larb("larb0", 31, 0x208), 1600u);
    EXPECT_EQ(at_larb("larb0", 31, 0x204), 0u);
    EXPECT_EQ(at_emi("emi_cen1", 2), 800u);
    store("miu2gmc0", 0x00, 0);
    EXPECT_EQ(at_larb("larb0", 31), 0u);
    generate(0x208, 0x1000);
    EXPECT_EQ(at_larb("larb0", 31), 0x10000u / 1000);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x8209u);
}

TEST_F(soc_controls, generator_starts_with_a_whole_pair_only) {
    store("miu2gmc0", 0x0c, 1);
    for (const std::uint32_t value : {0x109, 0x108, 0x209, 0x108, 0x108, 0x408, 0x409}) {
        store("miu2gmc0", 0x00, value);
        pass(1);
        EXPECT_EQ(load("miu2gmc0", 0x00), value);
    }
    generate(0x108, 0);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x8109u);
}

TEST_F(soc_controls, generator_fails_on_stuck_bits_of_its_pattern) {
    store("miu2gmc0", 0x80, 0x0010);
    generate(0x108, 1, 0xa5a5);
    pass_ns(10);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x8109u);
    generate(0x108, 1, 0x5a5a);
    pass_ns(10);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0xa109u);
}

// At 16 transactions, 256 MB/s, 64 KiB take 256 us.
TEST_F(soc_controls, generator_behind_a_limit_takes_longer_and_behind_a_mask_for_ever) {
    store("larb0", 0x27c, 16);
    generate(0x108, 0x1000);
    EXPECT_EQ(chip.next_event(), now_ns + 256'000);
    pass(128);
    store("larb0", 0x27c, 0);
    EXPECT_EQ(chip.next_event(), now_ns + 20'480);
    store("miu2gmc0", 0x40, 1u << 31);
    EXPECT_EQ(chip.next_event(), std::nullopt);
    pass(1'000'000);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x109u);
    store("miu2gmc0", 0x40, 0);
    pass(21);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x8109u);
}

TEST_F(soc_controls, generator_that_hangs_moves_data_and_is_never_done) {
    generate(0x108, 1);
    pass(1);
    EXPECT_TRUE(chip.hang("miu2gmc0"));
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x109u);
    generate(0x108, 1);
    EXPECT_EQ(at_larb("larb0", 31), 1600u);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x109u);
}

class soc_controls_gen1 : public soc_controls {
  protected:
    soc_controls_gen1()
        : soc_controls(board_tree().with_property("/bw_bist", "loop-mode-gen1", "")) {}
};

// 100 us into passes of 40.96 us, 22.88 us are left of the third one.
TEST_F(soc_controls, generator_loops_until_the_bit_is_cleared_and_ends_the_pass) {
    store("miu2gmc0", 0x1c, 0x10);
    store("miu2gmc0", 0x20, 0x10);
    generate(0x108, 0x1000);
    pass(100);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x109u);
    store("miu2gmc0", 0x20, 0);
    EXPECT_EQ(chip.next_event(), now_ns + 22'880);
    pass_ns(22'880);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x8109u);
}

TEST_F(soc_controls_gen1, generator_has_its_loop_bit_in_the_other_register) {
    store("miu2gmc0", 0x20, 0x10);
    generate(0x108, 1);
    pass(1);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x8109u);
    store("miu2gmc0", 0x1c, 0x10);
    generate(0x108, 1);
    pass(1);
    EXPECT_EQ(load("miu2gmc0", 0x00), 0x109u);
}

// 1130 - 256 = 874 MB/s of the video are missing, then 1130 with the port masked.
TEST_F(soc_controls, fifo_is_not_done_while_its_module_is_held_back) {
    run({video, audio});
    store("larb4", 0x208, 16);
    EXPECT_EQ(load_at(fifo + 0x140), 0u);
    store_at(fifo + 0x1c0, 1);
    EXPECT_EQ(load_at(fifo + 0x140), 874u);
    EXPECT_EQ(load_at(fifo + 0x1c8), 4u);
    store("miu2gmc4", 0x40, 1u << 2);
    EXPECT_EQ(load_at(fifo + 0x140), 1130u);
    store("miu2gmc4", 0x40, 0);
    store("larb4", 0x208, 0);
    EXPECT_EQ(load_at(fifo + 0x140) + load_at(fifo + 0x1c8), 0u);
    chip.set_scenario({"", {}, {{"fifo_vdec", 0x140, 1}, {"fifo_vdec", 0x1c8, 4}}});
    pass(1000);
    store_at(fifo + 0x1c0, 0);
    EXPECT_EQ(load_at(fifo + 0x140), 1u);
    EXPECT_EQ(load_at(fifo + 0x1c8), 4u);
}

TEST_F(soc_controls, blocks_complain_of_wrong_widths) {
    store_at(fifo + 0x100, 0x10);
    load_at(fifo + 0x1c0, 16);
    load_at(fifo + 0x1c0, 32);
    store("cpu_pri", 0x18, 0x12, 64);
    store("cpu_pri", 0x48, 8);
    load("cpu_pri", 0x48, 16);
    load("cpu_pri", 0x1c, 32);
    load("miu2gmc0", 0x00, 16);
    load("miu2gmc0", 0x24);
    EXPECT_EQ(chip.take_complaints(), (lines{"fifo_vdec+0x1c0: 32-bit load, not for enable",
                                             "cpu_pri+0x1c: 32-bit load, not for range",
                                             "miu2gmc0+0x0: 16-bit load, not for control",
                                             "miu2gmc0+0x24: 32-bit load, no register there"}));
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
