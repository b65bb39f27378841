// SPDX-License-Identifier: GPL-2.0-only
// Programming sequences, access by access.
#include "tests/block_trace.h"
#include "tests/rig.h"

namespace tests {

namespace {

// Disables every module but one and gives that one 16 ms.
void only(rig &r, unsigned module, unsigned count) {
    for (unsigned id = 0; id < count; id++) {
        r.write("bw_total", std::to_string(id) + (id == module ? " 1 16 0\n" : " 0 16 0\n"));
    }
}

lines trace_of_read(rig &r) {
    r.machine().set_tracing(true);
    r.read("bw_total");
    return r.trace();
}

constexpr unsigned zt410_modules = 14;

}  // namespace

// GOP sits on ports 0 to 4 of larb 7, which is input 4 of SMI common 2; path 0 of that is watched
// by monitor 4. 100 MB/s are 1,600,000 bytes in 16 ms.
TEST(trace, larb_module_with_five_ports_runs_four_and_then_one) {
    rig r("zt410");
    r.loaded();
    only(r, 8, zt410_modules);
    soc::scenario traffic;
    traffic.sources = {{soc::source_kind::larb_port,
                        7,
                        1,
                        {.read = 60, .write = 40, .efficiency = 75, .ultra = 25, .preultra = 50}}};
    r.chip().set_scenario(traffic);

    lines expected;
    block_trace larb(expected, "larb7");
    for (const std::uint32_t ports : {0x03020100u, 0x00000004u}) {
        larb.w32(0x404, 1);
        larb.w32(0x40c, 0x400);
        larb.w32(0x408, ports);
        larb.wmb();
        larb.w32(0x400, 1);
        larb.sleep("16000 16000");
        larb.w32(0x400, 0);
        larb.r32(0x410, 0);
        if (ports == 0x03020100u) {
            larb.r32(0x414, 1'600'000);
            larb.r32(0x418, 0);
            larb.r32(0x41c, 0);
            block_trace(expected, "smi_common2").r32(0x220, 0);
            add_effi_run(expected, {"effi_monitor4", 0x401, 0x7ff, 75, 256, 512});
        }
    }
    expect_trace(trace_of_read(r), expected);
}

// TSP is input 7 of SMI common 1, whose two outputs are numbered first. 50 MB/s are 50,000 units
// of 16 bytes in 16 ms.
TEST(trace, common_module_is_measured_in_both_directions) {
    rig r("zt410");
    r.loaded();
    only(r, 4, zt410_modules);
    soc::scenario traffic;
    traffic.sources = {{soc::source_kind::common_input,
                        1,
                        7,
                        {.read = 0, .write = 50, .efficiency = 60, .ultra = 0, .preultra = 100}}};
    traffic.presets = {{"smi_common1", 0x220, 0x4000}};
    r.chip().set_scenario(traffic);

    lines expected;
    block_trace common(expected, "smi_common1");
    for (const std::uint32_t direction : {0u, 1u}) {
        common.w32(0x1a4, 1);
        common.w32(0x1b0, 0x91);
        common.w32(0x1ac, direction);
        common.wmb();
        common.w32(0x1a0, 1);
        common.sleep("16000 16000");
        common.w32(0x1a0, 0);
        common.r32(0x1cc, direction * 50'000);
    }
    common.r32(0x220, 0x4000);
    add_effi_run(expected, {"effi_monitor3", 0x700, 0x700, 60, 0, 1024});
    expect_trace(trace_of_read(r), expected);
}

// Ports 0 and 1 on both channels: 301 MB/s are split 151 and 150; counted in 8 bytes. The EMI
// clock of 1066 MHz runs 17,056,000 cycles in 16 ms.
TEST(trace, cpu_is_counted_on_both_channels_through_broadcast) {
    rig r(sim::chip_tree("zt410").with_u32("/dram_config", "emi_clock", 1066));
    r.loaded();
    only(r, 0, zt410_modules);
    soc::scenario traffic;
    traffic.sources = {{soc::source_kind::emi_port, 0, 1, {.read = 201, .write = 100}}};
    r.chip().set_scenario(traffic);

    const std::uint64_t length = std::uint64_t{17'056'000} << 32;
    lines expected;
    block_trace channel(expected, "emi_cen0");
    add_broadcast(expected, true, 0x2);
    channel.update64(0x060, 0, 0x40000000);
    for (const std::uint32_t offset : {0x400, 0x440, 0x468, 0x4e8, 0x4b0, 0xf00}) {
        channel.w32(offset, 0);
    }
    channel.w32(0x404, 17'056'000);
    channel.update64(0xf00, 0, 0x7);
    add_broadcast(expected, false, 0);
    channel.r32(0xf2c, 0);
    add_broadcast(expected, true, 0x2);
    channel.w32(0xf2c, 0xf0000000);
    channel.update64(0xf00, 0x7, 0x307);
    channel.update64(0x400, length, length | 1);
    channel.wmb();
    add_broadcast(expected, false, 0);
    for (int polls = 0; polls < 16; polls++) {
        channel.r32(0x400, 0x1);
    }
    channel.r32(0x400, 0x5);
    channel.r32(0x428, 151 * 16'000 / 8);
    block_trace(expected, "emi_cen1").r32(0x428, 150 * 16'000 / 8);
    add_broadcast(expected, true, 0x2);
    channel.update64(0x060, 0x40000000, 0);
    add_broadcast(expected, false, 0);
    expect_trace(trace_of_read(r), expected);
}

TEST(trace, gpu_selects_port_7_and_the_reference_counts_everything) {
    rig r("zt410");
    r.loaded();
    r.machine().set_tracing(true);

    only(r, 1, zt410_modules);
    const lines gpu = trace_of_read(r);
    EXPECT_NE(std::find(gpu.begin(), gpu.end(), "W64 emi_cen0+0xf00 0x0000000000008007"),
              gpu.end());
    only(r, 12, zt410_modules);
    const lines reference = trace_of_read(r);
    EXPECT_EQ(std::count(reference.begin(), reference.end(), "R32 emi_cen1+0x420 0x00000000"), 1);
    for (const std::string &access : reference) {
        EXPECT_EQ(access.find("0x428"), std::string::npos) << access;
    }
}

// With monitors at the EMI ports, CPU's and GPU's efficiencies come from monitors 0, 1 and 7 with
// all their requests, enabled or not.
TEST(trace, seeds_of_disabled_processors_are_measured_at_their_monitors) {
    rig r("zt430");
    r.loaded();
    only(r, 99, 16);
    soc::scenario traffic;
    traffic.sources = {
        {soc::source_kind::emi_port, 0, 0, {.read = 9, .efficiency = 40}},
        {soc::source_kind::emi_port, 0, 1, {.read = 9, .efficiency = 61, .ultra = 50}},
        {soc::source_kind::emi_port, 0, 7, {.read = 9, .efficiency = 90}}};
    r.chip().set_scenario(traffic);

    lines expected;
    add_effi_run(expected, {"effi_monitor0", 0, 0, 40, 0, 0});
    add_effi_run(expected, {"effi_monitor1", 0, 0, 61, 512, 0});
    add_effi_run(expected, {"effi_monitor7", 0, 0, 90, 0, 0});
    expect_trace(trace_of_read(r), expected);
}

}  // namespace tests
