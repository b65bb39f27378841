// SPDX-License-Identifier: GPL-2.0-only
// The chip's blocks, against numbers worked out by hand.
#include <gtest/gtest.h>

#include <fstream>

#include "soc/chip.h"

namespace {

using soc::source;
using soc::source_kind;

// larb4 is at input 1 of SMI common 0; input 3 of it is free for a master. EMI clock 800 MHz, SMI
// clock 600 MHz.
constexpr const char *board = R"(/dts-v1/;
/ { #address-cells = <1>; #size-cells = <1>;
    dram_config { emi_clock = <800>; smi_clock = <600>; };
    emi_arch { emi_cnt = <2>; emi_port_cnt = <9>; };
    common0: smi_common0@1c010000 { reg = <0x1c010000 0x1000>;
        input-port-nr = <4>; output-port-nr = <2>; };
    smi_common7@1c011000 { reg = <0x1c011000 0x1000>; input-port-nr = <1>; output-port-nr = <1>; };
    larb4@1c020000 { reg = <0x1c020000 0x1000>; quorix,smi-port-id = <1>; quorix,smi = <&common0>; };
    emi_cen0@1c030000 { reg = <0x1c030000 0x1000>; };
    emi_cen1@1c031000 { reg = <0x1c031000 0x1000>; };
    emi_dispatch0@1c032000 { reg = <0x1c032000 0x1000>; };
    effi_monitor0@1c040000 { reg = <0x1c040000 0x100>; compatible = "quorix,zt420-effi-mon"; };
    effi_monitor1@1c041000 { reg = <0x1c041000 0x100>; compatible = "quorix,zt420-effi-mon"; };
    effi_monitor3@1c043000 { reg = <0x1c043000 0x100>; compatible = "quorix,zt420-effi-mon"; };
    fifo0@1c050000 { reg = <0x1c050000 0x100>; };
};)";

devicetree::flat_tree board_tree() {
    const std::string test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    const auto file = std::filesystem::path(::testing::TempDir()) / ("soc_" + test + ".dts");
    std::ofstream(file) << board;
    auto tree = devicetree::flat_tree::from_file(file);
    std::filesystem::remove(file);
    return tree;
}

// The processor's side of the chip.
class machine {
  public:
    explicit machine(const devicetree::flat_tree &tree) : tree_(tree), chip(tree, registers_) {}

    void store(const char *node, std::uint32_t offset, std::uint64_t value, unsigned width = 32) {
        registers_.set(address(node) + offset, width, value);
        chip.stored(address(node) + offset, width);
    }
    std::uint64_t load(const char *node, std::uint32_t offset, unsigned width = 32) {
        const auto value = registers_.get(address(node) + offset, width);
        chip.loaded(address(node) + offset, width);
        return value;
    }
    void pass(std::uint64_t us) { chip.advance(now_ns_ += us * 1000); }
    void run(std::vector<source> sources) { chip.set_scenario({"", std::move(sources), {}}); }

    // One run of an efficiency monitor up to its end: burst, efficiency, ultra, pre-ultra.
    std::vector<std::uint64_t> efficiency(const char *monitor, std::uint32_t value,
                                          std::uint32_t mask) {
        store(monitor, 0x00, 1);
        store(monitor, 0x00, 0);
        store(monitor, 0x08, mask);
        store(monitor, 0x04, value);
        store(monitor, 0x00, 0x8 | std::uint64_t{value} << 32, 64);
        store(monitor, 0x00, 0x18);
        pass(800);
        EXPECT_EQ(load(monitor, 0x34), 1u);
        return results(monitor);
    }
    std::vector<std::uint64_t> results(const char *monitor) {
        std::vector<std::uint64_t> all;
        for (std::uint32_t selector = 0; selector < 4; ++selector) {
            store(monitor, 0x00, 0x18 | selector << 6);
            all.push_back(load(monitor, 0x2c));
        }
        return all;
    }
    std::uint64_t common_count(std::uint32_t port, std::uint32_t write, std::uint64_t us) {
        store("smi_common0", 0x1a4, 1);
        store("smi_common0", 0x1b0, port << 4 | 1);
        store("smi_common0", 0x1ac, write);
        store("smi_common0", 0x1a0, 1);
        pass(us);
        store("smi_common0", 0x1a0, 0);
        return load("smi_common0", 0x1cc);
    }

  private:
    std::uint64_t address(const char *node) const { return tree_.by_name(node)->reg.at(0).start; }

    const devicetree::flat_tree &tree_;
    soc::register_file registers_;
    std::uint64_t now_ns_ = 0;

  public:
    soc::chip chip;
};

class Soc : public ::testing::Test {
  protected:
    void SetUp() override {
        for (const char *monitor : {"effi_monitor0", "effi_monitor1", "effi_monitor3"}) {
            bench.store(monitor, 0x0c, 0x1f10);
        }
    }
    void TearDown() override { EXPECT_EQ(bench.chip.take_complaints(), complaints{}); }

    using complaints = std::vector<std::string>;
    using numbers = std::vector<std::uint64_t>;
    const devicetree::flat_tree tree = board_tree();
    machine bench{tree};
};

const source video{source_kind::larb_port, 4, 2, {820, 310, 78, 20, 35, 7, 350, 120}};
const source audio{source_kind::larb_port, 4, 5, {0, 400, 50, 0, 100, 4, 100, 60}};
const source master{source_kind::common_input, 0, 3, {160, 0, 60, 1, 0, 9, 200, 205}};
const source cpu{source_kind::emi_port, 0, 8, {1001, 0, 90, 0, 0, 8, 101, 50}};

TEST_F(Soc, EfficiencyMonitorGivesASingleSourceItsOwnNumbers) {
    bench.run({video, audio, master, cpu});
    EXPECT_EQ(bench.efficiency("effi_monitor0", 0x102, 0x7ff), (numbers{7, 78, 205, 359}));
    EXPECT_EQ(bench.efficiency("effi_monitor0", 0x105, 0x7ff), (numbers{4, 50, 0, 1024}));
    EXPECT_EQ(bench.efficiency("effi_monitor0", 0x300, 0x700), (numbers{9, 60, 11, 0}));
    EXPECT_EQ(bench.efficiency("effi_monitor0", 0x103, 0x7ff), (numbers{0, 0, 0, 0}));
    EXPECT_EQ(bench.efficiency("effi_monitor1", 0x102, 0x7ff), (numbers{0, 0, 0, 0}));
}

// Bus time of input 1: 1130 * 100 / 78 + 400 * 100 / 50 = 2248.7; 1530 * 100 / 2248.7 = 68.04.
// With the master (160 at 60): 1690 * 100 / 2515.4 = 67.19.
TEST_F(Soc, EfficiencyMonitorWeighsSourcesByWhatTheyMove) {
    bench.run({video, audio, master});
    const numbers larb{(7 * 1130 + 4 * 400) / 1530, 68, 205 * 1130 / 1530,
                       (359 * 1130 + 1024 * 400) / 1530};
    EXPECT_EQ(bench.efficiency("effi_monitor0", 0x100, 0x700), larb);
    EXPECT_EQ(bench.efficiency("effi_monitor0", 0, 0)[1], 67u);
}

TEST_F(Soc, EfficiencyMonitorIsDoneAfterItsSpanAndForgetsOnReset) {
    bench.run({video});
    bench.store("effi_monitor0", 0x00, 0x08);
    bench.store("effi_monitor0", 0x00, 0x58);
    EXPECT_EQ(bench.chip.next_event(), 800'000u);
    bench.pass(799);
    EXPECT_EQ(bench.load("effi_monitor0", 0x34), 0u);
    EXPECT_EQ(bench.load("effi_monitor0", 0x2c), 0u);
    bench.pass(1);
    EXPECT_EQ(bench.load("effi_monitor0", 0x34), 1u);
    EXPECT_EQ(bench.load("effi_monitor0", 0x2c), 78u);
    bench.store("effi_monitor0", 0x00, 0x48);
    EXPECT_EQ(bench.load("effi_monitor0", 0x2c), 78u);
    bench.store("effi_monitor0", 0x00, 0x01);
    bench.store("effi_monitor0", 0x00, 0x00);
    bench.pass(10'000);
    EXPECT_EQ(bench.load("effi_monitor0", 0x34), 0u);
    EXPECT_EQ(bench.results("effi_monitor0"), (numbers{0, 0, 0, 0}));
}

TEST_F(Soc, EfficiencyMonitorNeedsArmingConfigurationAndPower) {
    bench.run({video});
    bench.store("effi_monitor0", 0x00, 0x10);
    EXPECT_EQ(bench.chip.next_event(), std::nullopt);
    bench.chip.power_lost();
    EXPECT_EQ(bench.load("effi_monitor0", 0x0c), 0u);
    EXPECT_EQ(bench.efficiency("effi_monitor0", 0, 0), (numbers{0, 0, 0, 0}));
    bench.store("effi_monitor0", 0x28, 0x5d58);
    EXPECT_EQ(bench.efficiency("effi_monitor0", 0, 0)[1], 78u);
    EXPECT_TRUE(bench.chip.hang("effi_monitor0"));
    bench.store("effi_monitor0", 0x00, 0x08);
    bench.store("effi_monitor0", 0x00, 0x18);
    bench.pass(1'000'000);
    EXPECT_EQ(bench.load("effi_monitor0", 0x34), 0u);
    EXPECT_FALSE(bench.chip.hang("effi_monitor9"));
}

TEST_F(Soc, MonitorsAtTheEmiFollowTheWiringOfTheCommons) {
    const auto at_emi = tree.with_property("/emi_arch", "emi-effi-monitor", "")
                            .with_property("/smi_common0@1c010000", "quorix,emi-port",
                                           std::string("\0\0\0\1\0\0\0\3", 8));
    machine other(at_emi);
    other.store("effi_monitor1", 0x0c, 1);
    other.store("effi_monitor3", 0x0c, 1);
    other.run({video, master});
    EXPECT_EQ(other.efficiency("effi_monitor1", 0x102, 0x7ff)[1], 78u);
    EXPECT_EQ(other.efficiency("effi_monitor3", 0, 0)[1], 0u);
    other.store("smi_common0", 0x220, 1u << 6);
    EXPECT_EQ(other.efficiency("effi_monitor3", 0, 0)[1], 60u);
}

TEST_F(Soc, LarbCountsFourPortsInBytesOrOneInSixteenBytes) {
    bench.run({video, audio});
    bench.store("larb4", 0x404, 1);
    bench.store("larb4", 0x40c, 0x400);
    bench.store("larb4", 0x408, 0x00000205);
    bench.store("larb4", 0x400, 1);
    bench.pass(1000);
    bench.store("larb4", 0x400, 0);
    bench.pass(1000);
    EXPECT_EQ(bench.load("larb4", 0x410), 400'000u);
    EXPECT_EQ(bench.load("larb4", 0x414), 1'130'000u);
    EXPECT_EQ(bench.load("larb4", 0x418), 0u);
    bench.store("larb4", 0x404, 1);
    EXPECT_EQ(bench.load("larb4", 0x414), 0u);
    bench.store("larb4", 0x408, 2);
    for (const std::uint32_t mode : {0x204, 0x208, 0x200}) {
        bench.store("larb4", 0x40c, mode);
        bench.store("larb4", 0x400, 1);
        bench.pass(333);
        bench.store("larb4", 0x400, 0);
    }
    EXPECT_EQ(bench.load("larb4", 0x418), (820 + 310) * 333 / 16u);
    EXPECT_EQ(bench.load("larb4", 0x430), 72u);
}

TEST_F(Soc, LarbCounterWrapsAt32Bits) {
    bench.run({video});
    bench.store("larb4", 0x40c, 0x400);
    bench.store("larb4", 0x408, 2);
    bench.store("larb4", 0x400, 1);
    bench.pass(4'000'000);
    EXPECT_EQ(bench.load("larb4", 0x410), 4'520'000'000u - 0x100000000u);
}

TEST_F(Soc, CommonCountsInputsAndThePathsThatTheyTake) {
    bench.run({video, audio, master});
    EXPECT_EQ(bench.common_count(2 + 1, 1, 160), 710u * 160 / 16);
    EXPECT_EQ(bench.load("smi_common0", 0x1dc), 72u);
    EXPECT_EQ(bench.common_count(2 + 3, 1, 160), 0u);
    EXPECT_EQ(bench.load("smi_common0", 0x1dc), 0u);
    EXPECT_EQ(bench.common_count(0, 0, 160), 980u * 160 / 16);
    EXPECT_EQ(bench.load("smi_common0", 0x1dc), 123u);
    bench.store("smi_common0", 0x220, 1u << 2);
    EXPECT_EQ(bench.common_count(0, 0, 160), 160u * 160 / 16);
    EXPECT_EQ(bench.common_count(1, 0, 160), 820u * 160 / 16);
    EXPECT_EQ(bench.efficiency("effi_monitor1", 0x102, 0x7ff)[1], 78u);
}

// A group of one slot: port 2 (the larb's 1130 MB/s) in slot 0, port 8 (1001 MB/s) in slot 5.
class SocEmi : public Soc {
  protected:
    void prepare(bool broadcast) {
        bench.store("emi_dispatch0", 0x100, broadcast ? 0x7f7f : 0);
        bench.store("emi_dispatch0", 0x104, broadcast ? 0x2 : 0);
        bench.store("emi_cen0", 0x060, 0x40000000, 64);
        bench.store("emi_cen0", 0x400, 0);
        bench.store("emi_cen0", 0x404, 800'000);
        bench.store("emi_cen0", 0xf00, 0x407);
        bench.store("emi_cen0", 0xf14, 0x10007);
        bench.store("emi_cen0", 0xf2c, 0xf0000000);
        bench.store("emi_cen0", 0xf40, 0xf0000000);
        bench.store("emi_cen0", 0x400, 1);
    }
};

TEST_F(SocEmi, BroadcastRunsEveryChannelAndEachCarriesItsShare) {
    bench.run({video, cpu});
    prepare(true);
    bench.pass(999);
    EXPECT_EQ(bench.load("emi_cen0", 0x400), 1u);
    bench.pass(5);
    for (const char *channel : {"emi_cen0", "emi_cen1"}) {
        const bool first = channel == std::string("emi_cen0");
        EXPECT_EQ(bench.load(channel, 0x400), 5u);
        EXPECT_EQ(bench.load(channel, 0x428), 565'000u / 8);
        EXPECT_EQ(bench.load(channel, 0xf1c), (first ? 501'000u : 500'000u) / 8);
        EXPECT_EQ(bench.load(channel, 0x420), (first ? 1'066'000u : 1'065'000u) / 8);
        EXPECT_EQ(bench.load(channel, 0x458), 0u);
        EXPECT_EQ(bench.load(channel, 0x500 + 16) / bench.load(channel, 0x540 + 16), 280u);
        EXPECT_EQ(bench.load(channel, 0x540 + 64), (first ? 501'000u : 500'000u) / 64);
    }
    bench.store("emi_cen0", 0x400, 0);
    EXPECT_EQ(bench.load("emi_cen1", 0x400), 0u);
    EXPECT_EQ(bench.load("emi_cen1", 0x428), 565'000u / 8);
}

TEST_F(SocEmi, ChannelThatBroadcastDoesNotReachCountsNothing) {
    bench.run({video});
    prepare(false);
    bench.pass(1000);
    EXPECT_EQ(bench.load("emi_cen0", 0x428), 565'000u / 8);
    EXPECT_EQ(bench.load("emi_cen1", 0x400), 0u);
    EXPECT_EQ(bench.load("emi_cen1", 0x428), 0u);
}

TEST_F(SocEmi, RunCompletesWithoutEnableButCountsNothing) {
    bench.run({video});
    prepare(false);
    bench.pass(1000);
    bench.store("emi_cen0", 0x060, 0);
    bench.store("emi_cen0", 0x400, 0);
    bench.store("emi_cen0", 0x400, 1 | 800'000ull << 32, 64);
    bench.pass(1000);
    EXPECT_EQ(bench.load("emi_cen0", 0x400), 5u);
    EXPECT_EQ(bench.load("emi_cen0", 0x420), 0u);
    bench.store("emi_cen0", 0x400, 0, 64);
    bench.store("emi_cen0", 0x400, 1);
    EXPECT_EQ(bench.load("emi_cen0", 0x400), 5u);
    EXPECT_TRUE(bench.chip.hang("emi_cen0"));
    EXPECT_EQ(bench.load("emi_cen0", 0x400), 1u);
}

TEST_F(Soc, ComplainsOfAccessesThatABlockDoesNotHave) {
    bench.store("larb4", 0x410, 0, 64);
    bench.load("larb4", 0x600);
    bench.load("emi_cen0", 0x4e8, 16);
    bench.load("emi_cen0", 0x420, 16);
    bench.load("fifo0", 0x30, 64);
    EXPECT_EQ(bench.chip.take_complaints(),
              (complaints{"larb4+0x410: 64-bit store, not for counter",
                          "larb4+0x600: 32-bit load, no register there",
                          "emi_cen0+0x420: 16-bit load, not for all_ports_counter"}));
}

TEST_F(Soc, RefusesSourcesAndRegistersThatTheChipLacks) {
    bench.run({video});
    for (const source &missing :
         {source{source_kind::larb_port, 5, 0, {}}, source{source_kind::larb_port, 4, 32, {}},
          source{source_kind::common_input, 0, 4, {}}, source{source_kind::emi_port, 0, 9, {}}}) {
        EXPECT_THROW(bench.run({missing}), std::runtime_error);
    }
    EXPECT_THROW(bench.chip.set_scenario({"", {}, {{"larb4", 0x600, 1}}}), std::runtime_error);
    EXPECT_EQ(bench.efficiency("effi_monitor0", 0, 0)[1], 78u);
    bench.chip.set_scenario({"", {video}, {{"smi_common0", 0x220, 4}, {"fifo0", 0xfc, 3}}});
    EXPECT_EQ(bench.load("fifo0", 0xfc), 3u);
    EXPECT_EQ(bench.efficiency("effi_monitor1", 0, 0)[1], 78u);
}

}  // namespace
