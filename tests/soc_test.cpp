// SPDX-License-Identifier: GPL-2.0-only
// The chip's monitors, against numbers worked out by hand.
#include "tests/bare_chip.h"

namespace tests {

namespace {

const source cpu{source_kind::emi_port, 0, 8, {1001, 0, 90, 0, 0, 8, 101, 50}};

class soc_monitors : public bare_chip {};

// Bus time of input 1: 1130 * 100 / 78 + 400 * 100 / 50 = 2248.7; 1530 * 100 / 2248.7 = 68.04.
// With the master (160 at 60): 1690 * 100 / 2515.4 = 67.19.
TEST_F(soc_monitors, efficiency_is_of_what_the_mask_selects_weighed_by_what_it_moves) {
    const numbers larb{(7 * 1130 + 4 * 400) / 1530, 68, 205 * 1130 / 1530,
                       (359 * 1130 + 1024 * 400) / 1530};

    run({video, audio, master, cpu});
    EXPECT_EQ(efficiency("effi_monitor0", 0x102, 0x7ff), (numbers{7, 78, 205, 359}));
    EXPECT_EQ(efficiency("effi_monitor0", 0x105, 0x7ff), (numbers{4, 50, 0, 1024}));
    EXPECT_EQ(efficiency("effi_monitor0", 0x300, 0x700), (numbers{9, 60, 11, 0}));
    EXPECT_EQ(efficiency("effi_monitor0", 0x103, 0x7ff), (numbers{0, 0, 0, 0}));
    EXPECT_EQ(efficiency("effi_monitor1", 0x102, 0x7ff), (numbers{0, 0, 0, 0}));
    EXPECT_EQ(efficiency("effi_monitor0", 0x100, 0x700), larb);
    EXPECT_EQ(efficiency("effi_monitor0", 0, 0)[1], 67u);
}

TEST_F(soc_monitors, efficiency_is_there_after_the_span_and_gone_after_a_reset) {
    run({video});
    store("effi_monitor0", 0x00, 0x08);
    store("effi_monitor0", 0x00, 0x58);
    EXPECT_EQ(chip->next_event(), 800'000u);
    pass(799);
    EXPECT_EQ(loads("effi_monitor0", {0x34, 0x2c}), (numbers{0, 0}));
    pass(1);
    EXPECT_EQ(loads("effi_monitor0", {0x34, 0x2c}), (numbers{1, 78}));
    store("effi_monitor0", 0x00, 0x48);
    EXPECT_EQ(load("effi_monitor0", 0x2c), 78u);
    store("effi_monitor0", 0x00, 0x01);
    store("effi_monitor0", 0x00, 0x00);
    pass(10'000);
    EXPECT_EQ(load("effi_monitor0", 0x34), 0u);
    EXPECT_EQ(results("effi_monitor0"), (numbers{0, 0, 0, 0}));
}

TEST_F(soc_monitors, efficiency_needs_arming_configuration_and_power) {
    run({video});
    store("effi_monitor0", 0x00, 0x10);
    EXPECT_EQ(chip->next_event(), std::nullopt);
    chip->power_lost();
    EXPECT_EQ(load("effi_monitor0", 0x0c), 0u);
    EXPECT_EQ(efficiency("effi_monitor0", 0, 0), (numbers{0, 0, 0, 0}));
    store("effi_monitor0", 0x28, 0x5d58);
    EXPECT_EQ(efficiency("effi_monitor0", 0, 0)[1], 78u);
    EXPECT_TRUE(chip->hang("effi_monitor0"));
    store("effi_monitor0", 0x00, 0x08);
    store("effi_monitor0", 0x00, 0x18);
    pass(1'000'000);
    EXPECT_EQ(load("effi_monitor0", 0x34), 0u);
    EXPECT_FALSE(chip->hang("effi_monitor9"));
}

TEST_F(soc_monitors, larb_counter_wraps_at_32_bits) {
    run({video});
    count("larb4", 0x400, {{0x40c, 0x400}, {0x408, 2}}, 4'000'000);
    EXPECT_EQ(load("larb4", 0x410), 4'520'000'000u - 0x100000000u);
}

// Port 2 (the larb's 1130 MB/s) in slot 0, port 8 (1001 MB/s) in slot 5.
class soc_channels : public bare_chip {
  protected:
    void start(bool broadcast) {
        const settings setup = {{0x060, 0x40000000}, {0x400, 0},       {0x404, 800'000},
                                {0xf00, 0x407},      {0xf14, 0x10007}, {0xf2c, 0xf0000000},
                                {0xf40, 0xf0000000}, {0x400, 1}};
        store("emi_dispatch0", 0x100, broadcast ? 0x7f7f : 0);
        store("emi_dispatch0", 0x104, broadcast ? 0x2 : 0);
        for (const auto &[offset, value] : setup) {
            store("emi_cen0", offset, value);
        }
    }
};

TEST_F(soc_channels, run_together_by_broadcast_and_carry_a_share_each) {
    run({video, cpu});
    start(true);
    pass(999);
    EXPECT_EQ(load("emi_cen0", 0x400), 1u);
    pass(5);
    for (const auto &[channel, kb_of_cpu] :
         {std::pair("emi_cen0", 501'000), {"emi_cen1", 500'000}}) {
        const numbers expected(
            {5, 565'000 / 8, kb_of_cpu / 8u, (565'000u + kb_of_cpu) / 8, 0, kb_of_cpu / 64u});
        EXPECT_EQ(loads(channel, {0x400, 0x428, 0xf1c, 0x420, 0x458, 0x540 + 64}), expected);
        EXPECT_EQ(load(channel, 0x500 + 16) / load(channel, 0x540 + 16), 280u);
    }
    store("emi_cen0", 0x400, 0);
    EXPECT_EQ(loads("emi_cen1", {0x400, 0x428}), (numbers{0, 565'000 / 8}));
}

// Channel 1's window ends where the plain registers begin.
TEST_F(soc_channels, get_what_is_broadcast_within_their_window_alone) {
    const std::string window("\x1c\x06\xfc\0\0\0\x04\0", 8);
    power_on(compiled(board).with_property("/emi_cen1@1c031000", "reg", window));
    start(true);
    store("emi_cen0", 0x100, 7);
    EXPECT_EQ(load("emi_cen1", 0x100), 7u);
    EXPECT_EQ(loads("plain", {0x00, 0x04}), (numbers{0, 0}));
}

TEST_F(soc_channels, run_alone_without_broadcast_and_count_only_when_enabled) {
    run({video});
    start(false);
    pass(1000);
    EXPECT_EQ(load("emi_cen0", 0x428), 565'000u / 8);
    EXPECT_EQ(loads("emi_cen1", {0x400, 0x428}), (numbers{0, 0}));
    store("emi_cen0", 0x060, 0, 64);
    store("emi_cen0", 0x400, 0);
    store("emi_cen0", 0x400, 1 | 800'000ull << 32, 64);
    pass(1000);
    EXPECT_EQ(loads("emi_cen0", {0x400, 0x420}), (numbers{5, 0}));
    store("emi_cen0", 0x400, 0, 64);
    store("emi_cen0", 0x400, 1);
    EXPECT_EQ(load("emi_cen0", 0x400), 5u);
    EXPECT_TRUE(chip->hang("emi_cen0"));
    EXPECT_EQ(load("emi_cen0", 0x400), 1u);
}

class soc_chip : public bare_chip {};

TEST_F(soc_chip, complains_of_accesses_that_a_block_does_not_have) {
    const struct {
        const char *node;
        std::uint32_t offset;
        unsigned width;
        bool store;
        const char *complaint;
    } accesses[] = {
        {"larb4", 0x410, 64, true, "64-bit store, not for counter"},
        {"larb4", 0x600, 32, false, "32-bit load, no register there"},
        {"emi_cen0", 0x4e8, 16, false, nullptr},
        {"emi_cen0", 0x420, 16, false, "16-bit load, not for all_ports_counter"},
        {"plain", 0x30, 64, false, nullptr},
        {"fifo_vdec", 0x100, 32, true, nullptr},
        {"fifo_vdec", 0x1c0, 16, false, nullptr},
        {"fifo_vdec", 0x1c0, 32, false, "32-bit load, not for enable"},
        {"cpu_pri", 0x18, 64, true, nullptr},
        {"cpu_pri", 0x48, 32, true, nullptr},
        {"cpu_pri", 0x48, 16, false, nullptr},
        {"cpu_pri", 0x1c, 32, false, "32-bit load, not for range"},
        {"miu2gmc0", 0x00, 16, false, "16-bit load, not for control"},
        {"miu2gmc0", 0x24, 32, false, "32-bit load, no register there"},
    };

    for (const auto &[node, offset, width, is_store, complaint] : accesses) {
        if (is_store) {
            store(node, offset, 0, width);
        } else {
            load(node, offset, width);
        }
        char place[32];
        std::snprintf(place, sizeof(place), "%s+0x%x: ", node, offset);
        EXPECT_EQ(chip->take_complaints(),
                  complaint ? complaints{std::string(place) + complaint} : complaints{});
    }
}

TEST_F(soc_chip, refuses_sources_and_registers_that_it_lacks) {
    run({video});
    for (const source &missing :
         {source{source_kind::larb_port, 5, 0, {}}, source{source_kind::larb_port, 4, 32, {}},
          source{source_kind::common_input, 0, 4, {}}, source{source_kind::emi_port, 0, 12, {}}}) {
        EXPECT_THROW(run({missing}), std::runtime_error);
    }
    EXPECT_THROW(chip->set_scenario({"", {}, {{"larb4", 0x600, 1}}}), std::runtime_error);
    EXPECT_EQ(efficiency("effi_monitor0", 0, 0)[1], 78u);
    chip->set_scenario({"", {video}, {{"smi_common0", 0x220, 4}, {"plain", 0xfc, 3}}});
    EXPECT_EQ(load("plain", 0xfc), 3u);
    EXPECT_EQ(efficiency("effi_monitor1", 0, 0)[1], 78u);
}

}  // namespace

}  // namespace tests
