// SPDX-License-Identifier: GPL-2.0-only
// A chip without a kernel: a test stores and loads in the processor's place.
#pragma once

#include <optional>

#include "soc/chip.h"
#include "tests/compiled.h"

namespace tests {

// EMI clock 800 MHz, SMI clock 600 MHz. Peak of a channel: 32 / 8 * 3200 / 2 = 6400 MB/s, so a 64th
// of it is 100 MB/s. larb4 is at input 1 of SMI common 0, which leads to EMI port 2; larb0, where
// the generator enters, is at input 0; input 3 is free for a master.
inline constexpr const char *board = R"(/dts-v1/;
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
    effi_monitor1@1c041000 { reg = <0x1c041000 0x100>; compatible = "quorix,zt420-effi-mon"; };
    effi_monitor3@1c043000 { reg = <0x1c043000 0x100>; compatible = "quorix,zt420-effi-mon"; };
    miu2gmc0@1c050000 { reg = <0x1c050000 0x1000>; };
    miu2gmc4@1c054000 { reg = <0x1c054000 0x1000>; };
    cpu_pri@1c060000 { reg = <0x1c060000 0x1000>; };
    plain@1c070000 { reg = <0x1c070000 0x100>; };
    bw_bist { device_type = "bw"; module-name = "BIST";
        engine0 { larb-id = <0>; port-list = <31>; }; };
    bw_vdec { device_type = "bw"; module-name = "VDEC"; mix-module;
        part { ports { larb-id = <4>; port-list = <2 5>; }; }; };
    fifo_vdec { device_type = "fifo"; module-name = "VDEC"; riu-base = <0x400>; };
};)";

using soc::source;
using soc::source_kind;

inline const source video{source_kind::larb_port, 4, 2, {820, 310, 78, 20, 35, 7, 350, 120}};
inline const source audio{source_kind::larb_port, 4, 5, {0, 400, 50, 0, 100, 4, 100, 60}};
inline const source master{source_kind::common_input, 0, 3, {160, 0, 60, 1, 0, 9, 200, 205}};

class bare_chip : public testing::Test {
  protected:
    using complaints = std::vector<std::string>;
    using numbers = std::vector<std::uint64_t>;
    using settings = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

    bare_chip() { power_on(compiled(board)); }
    void TearDown() override { EXPECT_EQ(chip->take_complaints(), complaints{}); }

    void power_on(devicetree::flat_tree new_tree) {
        chip.reset();
        tree.emplace(std::move(new_tree));
        chip.emplace(*tree, registers.emplace());
        now_ns = 0;
        for (const char *monitor : {"effi_monitor0", "effi_monitor1", "effi_monitor3"}) {
            store(monitor, 0x0c, 0x1f10);
        }
    }

    // The FIFO's bank has 512 bytes for each address of the register bus.
    std::uint64_t address(const std::string &node) const {
        return node == "fifo_vdec" ? 0x1c000000 + 0x400 * 512
                                   : tree->by_name(node)->reg.at(0).start;
    }
    void store(const char *node, std::uint32_t offset, std::uint64_t value, unsigned width = 32) {
        registers->set(address(node) + offset, width, value);
        chip->stored(address(node) + offset, width);
    }
    std::uint64_t load(const char *node, std::uint32_t offset, unsigned width = 32) {
        const std::uint64_t value = registers->get(address(node) + offset, width);
        chip->loaded(address(node) + offset, width);
        return value;
    }
    numbers loads(const char *node, const std::vector<std::uint32_t> &offsets) {
        numbers values;
        for (const std::uint32_t offset : offsets) {
            values.push_back(load(node, offset));
        }
        return values;
    }
    void pass_ns(std::uint64_t ns) { chip->advance(now_ns += ns); }
    void pass(std::uint64_t us) { pass_ns(us * 1000); }
    void run(std::vector<source> sources) { chip->set_scenario({"", std::move(sources), {}}); }

    void count(const char *node, std::uint32_t run_register, const settings &setup,
               std::uint64_t us = 1000) {
        for (const auto &[offset, value] : setup) {
            store(node, offset, value);
        }
        store(node, run_register, 1);
        pass(us);
        store(node, run_register, 0);
    }
    // MB/s at a larb's port: in bytes, or in 16 bytes with the mode of one direction.
    std::uint64_t at_larb(const char *larb, std::uint32_t port) {
        count(larb, 0x400, {{0x404, 1}, {0x40c, 0x400}, {0x408, port}});
        return load(larb, 0x410) / 1000;
    }
    std::uint64_t at_larb(const char *larb, std::uint32_t port, std::uint32_t mode) {
        count(larb, 0x400, {{0x404, 1}, {0x40c, mode}, {0x408, port}});
        return load(larb, 0x418) * 16 / 1000;
    }
    // Units of 16 bytes at a port of SMI common 0; output ports are numbered first.
    std::uint64_t at_common(std::uint32_t port, std::uint32_t write, std::uint64_t us = 1000) {
        count("smi_common0", 0x1a0, {{0x1a4, 1}, {0x1b0, port << 4 | 1}, {0x1ac, write}}, us);
        return load("smi_common0", 0x1cc);
    }
    // A run of an efficiency monitor to its end: burst, efficiency, ultra, pre-ultra.
    numbers efficiency(const char *monitor, std::uint32_t value, std::uint32_t mask) {
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
    numbers results(const char *monitor) {
        numbers all;
        for (std::uint32_t selector = 0; selector < 4; ++selector) {
            store(monitor, 0x00, 0x18 | selector << 6);
            all.push_back(load(monitor, 0x2c));
        }
        return all;
    }

    std::optional<devicetree::flat_tree> tree;
    std::optional<soc::register_file> registers;
    std::optional<soc::chip> chip;
    std::uint64_t now_ns = 0;
};

}  // namespace tests
