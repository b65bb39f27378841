// SPDX-License-Identifier: GPL-2.0-only
// A chip without software: a test stores and loads in the processor's place.
#pragma once

#include <optional>

#include "tests/rig.h"

namespace tests {

using soc::source;
using soc::source_kind;

// Both come in at larb1, at input 1 of SMI common 0, which leads to EMI port 2.
inline const source video{source_kind::larb_port, 1, 4, {820, 310, 78, 20, 35, 7, 350, 120}};
inline const source audio{source_kind::larb_port, 1, 5, {0, 400, 50, 0, 100, 4, 100, 60}};

class bare_chip : public testing::Test {
  protected:
    using numbers = std::vector<std::uint64_t>;
    using settings = std::vector<std::pair<const char *, std::uint64_t>>;

    bare_chip() { power_on(board()); }
    void TearDown() override { EXPECT_EQ(r->chip().take_complaints(), lines{}); }

    // zt410 with an EMI clock of 800 MHz and round numbers: the peak of a channel is
    // 32 / 8 * 3200 / 2 = 6400 MB/s, so a 64th of it is 100 MB/s.
    static devicetree::flat_tree board() {
        return sim::chip_tree("zt410")
            .with_u32("/dram_config", "dram_clock", 3200)
            .with_u32("/dram_config", "emi_clock", 800)
            .with_u32("/emi_arch", "emi_port_cnt", 12)
            .without_property("/soc/smi_common0@1c460000", "quorix,emi-port");
    }
    void power_on(devicetree::flat_tree tree) {
        r.reset();
        r.emplace(std::move(tree));
        store("effi_monitor0+0x0c", 0x1f10);
    }

    std::uint64_t address(const std::string &place) { return r->simulator().address_of(place); }
    void store(const std::string &place, std::uint64_t value, unsigned width = 32) {
        r->chip().store(address(place), width, value);
    }
    void store(const settings &all) {
        for (const auto &[place, value] : all) {
            store(place, value);
        }
    }
    std::uint64_t load(const std::string &place, unsigned width = 32) {
        return r->chip().load(address(place), width);
    }
    numbers loads(const lines &places) {
        numbers values;
        for (const std::string &place : places) {
            values.push_back(load(place));
        }
        return values;
    }
    void run(std::vector<source> sources) { r->chip().set_scenario({"", std::move(sources), {}}); }
    void pass(std::uint64_t us) { r->machine().elapse(us); }
    // Microseconds from now.
    std::optional<std::uint64_t> next_event() {
        const auto event = r->chip().next_event();
        return event ? std::optional(*event - r->machine().now_us()) : std::nullopt;
    }

    // MB/s at a larb's port: in bytes, or in 16 bytes with the mode of one direction.
    std::uint64_t at_larb(const std::string &larb, std::uint32_t port, std::uint32_t mode = 0x400) {
        store(larb + "+0x404", 1);
        store(larb + "+0x40c", mode);
        store(larb + "+0x408", port);
        store(larb + "+0x400", 1);
        pass(1000);
        store(larb + "+0x400", 0);
        return mode == 0x400 ? load(larb + "+0x410") / 1000 : load(larb + "+0x418") * 16 / 1000;
    }
    // A run of efficiency monitor 0 to its end: burst, efficiency, ultra, pre-ultra.
    numbers efficiency(std::uint32_t value, std::uint32_t mask) {
        store({{"effi_monitor0+0x00", 1}, {"effi_monitor0+0x00", 0}, {"effi_monitor0+0x08", mask}});
        store("effi_monitor0+0x00", 0x8 | std::uint64_t{value} << 32, 64);
        store("effi_monitor0+0x00", 0x18);
        pass(800);
        EXPECT_EQ(load("effi_monitor0+0x34"), 1u);
        return results();
    }
    numbers results() {
        numbers all;
        for (std::uint32_t selector = 0; selector < 4; ++selector) {
            store("effi_monitor0+0x00", 0x18 | selector << 6);
            all.push_back(load("effi_monitor0+0x2c"));
        }
        return all;
    }

    std::optional<rig> r;
};

}  // namespace tests
