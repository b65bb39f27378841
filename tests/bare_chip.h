// SPDX-License-Identifier: GPL-2.0-only
// A chip without software: a test stores and loads in the processor's place.
#pragma once

#include <optional>

#include "tests/block_trace.h"

namespace tests {

using soc::source;
using soc::source_kind;

// Both come in at larb1, at input 1 of SMI common 0, which leads to EMI port 2.
inline const source video{source_kind::larb_port, 1, 4, {820, 310, 78, 20, 35, 7, 350, 120}};
inline const source audio{source_kind::larb_port, 1, 5, {0, 400, 50, 0, 100, 4, 100, 60}};

class bare_chip : public testing::Test {
  protected:
    using numbers = std::vector<std::uint64_t>;

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
        play("effi_monitor0", "c=1f10");
    }

    // Stores, loads what must be there, and lets time pass.
    [[gnu::format(printf, 3, 4)]] void play(const std::string &block, const char *format, ...) {
        va_list values;

        va_start(values, format);
        for (const host::trace_entry &each : accesses(block, format, values)) {
            const std::string start = block.starts_with("0x") ? block : block + "+0x0";
            const std::uint64_t address = r->simulator().address_of(start) + each.offset;
            if (each.what == host::trace_entry::kind::sleep) {
                pass(each.min_us);
            } else if (each.what == host::trace_entry::kind::write) {
                r->chip().store(address, each.width, each.value);
            } else {
                EXPECT_EQ(r->chip().load(address, each.width), each.value) << each.text();
            }
        }
        va_end(values);
    }
    std::uint64_t load(const std::string &place) {
        return r->chip().load(r->simulator().address_of(place), 32);
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
        play(larb, "404=1 40c=%x 408=%x 400=1 ~1000 400=0", mode, port);
        return mode == 0x400 ? load(larb + "+0x410") / 1000 : load(larb + "+0x418") * 16 / 1000;
    }
    // A run of efficiency monitor 0 to its end: burst, efficiency, ultra, pre-ultra.
    numbers efficiency(std::uint32_t value, std::uint32_t mask) {
        play("effi_monitor0", "0=1 0=0 8=%x q0=%x00000008 0=18 ~800 34?1", mask, value);
        return results();
    }
    numbers results() {
        numbers all;
        for (std::uint32_t selector = 0; selector < 4; ++selector) {
            play("effi_monitor0", "0=%x", 0x18 | selector << 6);
            all.push_back(load("effi_monitor0+0x2c"));
        }
        return all;
    }

    std::optional<rig> r;
};

}  // namespace tests
