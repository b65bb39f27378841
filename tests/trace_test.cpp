// SPDX-License-Identifier: GPL-2.0-only
// Programming sequences of the measurements, access by access.
#include <algorithm>
#include <optional>

#include "tests/block_trace.h"
#include "tests/port_chip.h"

namespace tests {

namespace {

lines trace_of_read(rig &r, const char *attribute) {
    r.machine().set_tracing(true);
    r.read(attribute);
    return r.trace();
}

// Disables every module of the total report but one.
void only(rig &r, unsigned module) {
    for (unsigned id = 0; id < 16; id++) {
        r.write("bw_total", std::to_string(id) + (id == module ? " 1 16 0\n" : " 0 16 0\n"));
    }
}

void add_broadcast(lines &trace, bool on, std::uint32_t targets) {
    block_trace dispatch(trace, "emi_dispatch0");

    dispatch.wmb();
    dispatch.w32(0x100, on ? 0x7f7f : 0);
    dispatch.w32(0x104, on ? targets : 0);
    dispatch.wmb();
}

// Says where two traces part, rather than printing both.
void expect_trace(const lines &trace, const lines &expected) {
    const auto [at, wanted] =
        std::mismatch(trace.begin(), trace.end(), expected.begin(), expected.end());

    EXPECT_EQ(at != trace.end() ? *at : "the end", wanted != expected.end() ? *wanted : "the end")
        << "access " << at - trace.begin();
}

struct effi_run {
    std::string monitor;
    std::uint32_t value;
    std::uint32_t mask;
    std::uint32_t efficiency;
    std::uint32_t ultra;
    std::uint32_t preultra;
    std::optional<std::uint32_t> burst = {};  // read for port reports only
};

void add_effi_run(lines &trace, const effi_run &run) {
    block_trace monitor(trace, run.monitor);
    const std::uint64_t high = std::uint64_t{run.value} << 32;
    const auto update = [&monitor](std::uint32_t before, std::uint32_t after) {
        monitor.update32(0x00, before, after);
        monitor.wmb();
    };

    monitor.wmb();
    monitor.w32(0x00, 0x1);
    monitor.w32(0x00, 0x0);
    monitor.w32(run.mask != 0 ? 0x08 : 0x04, run.mask);  // value and mask are both 0 or neither
    monitor.w32(run.mask != 0 ? 0x04 : 0x08, run.value);
    monitor.update64(0x00, high, high | 0x8);
    update(0x08, 0x08);
    update(0x08, 0x48);
    update(0x48, 0x58);
    monitor.r32(0x34, 0);
    monitor.sleep("999 1001");
    monitor.r32(0x34, 1);
    monitor.r32(0x2c, run.efficiency);
    update(0x58, 0x18);
    update(0x18, 0x98);
    monitor.r32(0x2c, run.ultra);
    update(0x98, 0x18);
    update(0x18, 0x18);
    if (run.burst) {
        monitor.r32(0x2c, *run.burst);
    }
    update(0x18, 0x18);
    update(0x18, 0xd8);
    monitor.r32(0x2c, run.preultra);
    update(0xd8, 0x18);
    monitor.update64(0x00, high | 0x18, high | 0x08);
    monitor.wmb();
    monitor.update64(0x00, high | 0x08, high | 0x09);
    monitor.wmb();
    monitor.update64(0x00, high | 0x09, high | 0x08);
}

// One window of 16 ms of a larb's monitor, after the two registers that choose what it counts.
void add_larb_run(block_trace &larb, const std::pair<std::uint32_t, std::uint32_t> &first,
                  const std::pair<std::uint32_t, std::uint32_t> &second) {
    larb.w32(0x404, 1);
    larb.w32(first.first, first.second);
    larb.w32(second.first, second.second);
    larb.wmb();
    larb.w32(0x400, 1);
    larb.sleep("16000 16000");
    larb.w32(0x400, 0);
}

// The same for an SMI common, with the units of 16 bytes that it has counted.
void add_common_run(block_trace &common, std::uint32_t port, std::uint32_t direction,
                    std::uint32_t count) {
    common.w32(0x1a4, 1);
    common.w32(0x1b0, port << 4 | 1);
    common.w32(0x1ac, direction);
    common.wmb();
    common.w32(0x1a0, 1);
    common.sleep("16000 16000");
    common.w32(0x1a0, 0);
    common.r32(0x1cc, count);
}

void add_emi_polls(block_trace &channel, std::uint32_t count) {
    for (std::uint32_t polls = 0; polls < count; polls++) {
        channel.r32(0x400, 0x1);
    }
    channel.r32(0x400, 0x5);
}

constexpr std::uint32_t two_channels = 0x2;
constexpr std::uint32_t emi_clock = 1066;  // MHz

// What firmware had set up: the lower half of 0x060, and 0xf2c and the registers behind it.
constexpr std::uint32_t enable_low = 0x0012;
constexpr std::uint32_t auxiliary = 0x5;

// A measurement of two channels in 1 ms. Every port moves 20 MB/s on each: 2500 units of 8 bytes,
// in 312 requests that take 200 ns.
struct emi_run {
    std::uint32_t ports;
    bool monitors;
};

// Channel 1 will lose what is not channel 0's.
void set_up(rig &r, const emi_run &run) {
    std::vector<soc::source> sources;
    std::vector<soc::preset> presets = {{"emi_cen0", 0x060, 0xab00 << 16 | enable_low},
                                        {"emi_cen1", 0xf2c, 0x999}};

    for (std::uint32_t port = 0; port < run.ports; port++) {
        sources.push_back(at_emi(port, {.read = 40, .efficiency = 60, .burst = 3}));
    }
    for (std::uint32_t slot = 0; slot < 6; slot++) {
        presets.push_back({"emi_cen0", 0xf2c + 4 * slot, auxiliary});
    }
    r.run(sources, presets);
    r.write("bw_emi", "1\n");
}

void add_cleared(block_trace &channel) {
    for (const std::uint32_t offset :
         {0x400, 0x440, 0x468, 0x4e8, 0x4b0, 0xf00, 0xf04, 0xf08, 0xf0c, 0xf10, 0xf14, 0x4f8}) {
        channel.w32(offset, 0);
    }
}

void add_monitor_preparations(lines &trace, const emi_run &run) {
    for (std::uint32_t port = 0; run.monitors && port < run.ports; port++) {
        block_trace monitor(trace, "effi_monitor" + std::to_string(port));
        monitor.w32(0x00, 0x1);
        monitor.wmb();
        monitor.w32(0x00, 0x0);
        monitor.w32(0x04, 0);
        monitor.w32(0x08, 0);
        monitor.update64(0x00, 0, 0x8);
        monitor.update32(0x00, 0x08, 0x08);
        monitor.wmb();
        monitor.update32(0x00, 0x08, 0x48);
    }
}

// Monitors are started with the first group and go on through the others.
void add_group(lines &trace, const emi_run &run, std::uint32_t first) {
    const std::uint32_t count = std::min(run.ports - first, 6u);
    constexpr std::uint32_t counters[] = {0x428, 0x458, 0x460, 0x464, 0xf18, 0xf1c};
    block_trace channel(trace, "emi_cen0");

    add_broadcast(trace, true, two_channels);
    add_cleared(channel);
    channel.w32(0x404, emi_clock * 1000);
    for (std::uint32_t slot = 0; slot < 6; slot++) {
        const std::uint32_t held = first == 0 ? auxiliary : 0xf0000000 | auxiliary;
        channel.update_low16(0xf00 + 4 * slot, 0x0, 0x1);
        channel.update_low16(0xf00 + 4 * slot, 0x1, 0x3);
        channel.update_low16(0xf00 + 4 * slot, 0x3, 0x7);
        add_broadcast(trace, false, 0);
        channel.r32(0xf2c + 4 * slot, held);
        add_broadcast(trace, true, two_channels);
        channel.w32(0xf2c + 4 * slot, 0xf0000000 | auxiliary);
        channel.wmb();
    }
    channel.w32(0x4f8, 0xffffffff);
    channel.update_low16(0x4e8, 0, 0x02000000);
    for (std::uint32_t slot = 0; slot < count; slot++) {
        channel.update_low16(0xf00 + 4 * slot, 0x7, 0x7 | 0x100 << (first + slot));
    }
    channel.update_low16(0x400, 0, 1);
    for (std::uint32_t port = 0; run.monitors && port < run.ports; port++) {
        block_trace(trace, "effi_monitor" + std::to_string(port))
            .update32(0x00, first == 0 ? 0x48 : 0x58, 0x58);
    }
    channel.wmb();
    add_broadcast(trace, false, 0);
    // A poll each millisecond, and one when the monitors have seen enough.
    add_emi_polls(channel, run.monitors && first == 0 ? 2 : 1);
    for (std::uint32_t slot = 0; slot < count; slot++) {
        channel.r32(counters[slot], 2500);
        block_trace(trace, "emi_cen1").r32(counters[slot], 2500);
    }
}

// Channel 0 finds what the monitor has seen, channel 1 finds it reset.
void add_monitor_readings(lines &trace, const emi_run &run) {
    for (std::uint32_t port = 0; run.monitors && port < run.ports; port++) {
        block_trace monitor(trace, "effi_monitor" + std::to_string(port));
        for (const bool fresh : {false, true}) {
            monitor.r32(0x34, fresh ? 0 : 1);
            for (int polls = 0; fresh && polls < 50; polls++) {
                monitor.sleep("999 1001");
                monitor.r32(0x34, 0);
            }
            monitor.r32(0x2c, fresh ? 0 : 60);
            monitor.update_low16(0x00, fresh ? 0 : 0x58, fresh ? 0 : 0x18);
            monitor.update_low16(0x00, fresh ? 0 : 0x18, fresh ? 0 : 0x18);
            monitor.wmb();
            monitor.r32(0x2c, fresh ? 0 : 3);
            monitor.w32(0x00, 0x1);
            monitor.wmb();
            monitor.w32(0x00, 0x0);
        }
    }
}

void add_latencies_and_limits(lines &trace, const emi_run &run) {
    for (std::uint32_t port = 0; port < run.ports; port++) {
        for (const char *node : {"emi_cen0", "emi_cen1"}) {
            block_trace channel(trace, node);
            channel.r32(0x500 + 8 * port, 312 * (200 * emi_clock / 1000));
            channel.r32(0x540 + 8 * port, 312);
            channel.r32(port == 1 ? 0x100 : 0x100 + 8 * port, 0);
        }
    }
    for (std::uint32_t port = 0; port < run.ports; port++) {
        for (const char *node : {"emi_cen0", "emi_cen0", "emi_cen1", "emi_cen1"}) {
            block_trace channel(trace, node);
            channel.r32(port < 4 ? 0xd0 : 0xd8, 0);
            channel.r32(port < 4 ? 0xd4 : 0xdc, 0);
        }
    }
}

lines expected_trace(const emi_run &run) {
    lines trace;
    block_trace channel(trace, "emi_cen0");

    add_monitor_preparations(trace, run);
    add_broadcast(trace, true, two_channels);
    channel.update_low16(0x060, enable_low, 0x40000000 | enable_low);
    for (std::uint32_t first = 0; first < run.ports; first += 6) {
        add_group(trace, run, first);
    }
    add_monitor_readings(trace, run);
    add_broadcast(trace, false, 0);
    add_latencies_and_limits(trace, run);
    add_broadcast(trace, true, two_channels);
    add_cleared(channel);
    channel.w32(0x4f8, 0);
    channel.update_low16(0x4e8, 0, 0);
    channel.update_low16(0x060, enable_low, enable_low);
    add_broadcast(trace, false, 0);
    return trace;
}

// A run of 16 ms, with the counts of both channels in units of 8 bytes.
lines expected_dram_trace(std::uint32_t ports, std::uint32_t counter,
                          const std::pair<std::uint32_t, std::uint32_t> &counts) {
    const std::uint64_t length = std::uint64_t{16 * emi_clock * 1000} << 32;
    lines trace;
    block_trace channel(trace, "emi_cen0");

    add_broadcast(trace, true, two_channels);
    channel.update64(0x060, 0, 0x40000000);
    for (const std::uint32_t offset : {0x400, 0x440, 0x468, 0x4e8, 0x4b0, 0xf00}) {
        channel.w32(offset, 0);
    }
    channel.w32(0x404, 16 * emi_clock * 1000);
    channel.update64(0xf00, 0, 0x7);
    add_broadcast(trace, false, 0);
    channel.r32(0xf2c, 0);
    add_broadcast(trace, true, two_channels);
    channel.w32(0xf2c, 0xf0000000);
    if (ports != 0) {
        channel.update64(0xf00, 0x7, 0x7 | ports << 8);
    }
    channel.update64(0x400, length, length | 1);
    channel.wmb();
    add_broadcast(trace, false, 0);
    add_emi_polls(channel, 16);
    channel.r32(counter, counts.first);
    block_trace(trace, "emi_cen1").r32(counter, counts.second);
    add_broadcast(trace, true, two_channels);
    channel.update64(0x060, 0x40000000, 0);
    add_broadcast(trace, false, 0);
    return trace;
}

}  // namespace

// GOP sits on ports 0 to 4 of larb 7, which is input 4 of SMI common 2; path 0 of that is watched
// by monitor 4. 100 MB/s are 1,600,000 bytes in 16 ms.
TEST(total_trace, larb_module_with_five_ports_runs_four_and_then_one) {
    rig r("zt410");
    r.loaded();
    only(r, 8);
    r.run(
        {at_larb(7, 1, {.read = 60, .write = 40, .efficiency = 75, .ultra = 25, .preultra = 50})});

    lines expected;
    block_trace larb(expected, "larb7");
    add_larb_run(larb, {0x40c, 0x400}, {0x408, 0x03020100});
    larb.r32(0x410, 0);
    larb.r32(0x414, 1'600'000);
    larb.r32(0x418, 0);
    larb.r32(0x41c, 0);
    block_trace(expected, "smi_common2").r32(0x220, 0);
    add_effi_run(expected, {"effi_monitor4", 0x401, 0x7ff, 75, 256, 512});
    add_larb_run(larb, {0x40c, 0x400}, {0x408, 0x00000004});
    larb.r32(0x410, 0);
    expect_trace(trace_of_read(r, "bw_total"), expected);
}

// The CPU's are ports 0 and 1, the GPU's is port 7. 301 MB/s are split 151 and 150.
TEST(total_trace, processors_and_reference_are_counted_on_both_channels_through_broadcast) {
    struct run {
        unsigned module;
        std::uint32_t ports;
        std::uint32_t counter;
        std::pair<std::uint32_t, std::uint32_t> rates;
    };
    for (const run &each : {run{0, 0x03, 0x428, {151, 150}}, run{1, 0x80, 0x428, {20, 20}},
                            run{12, 0, 0x420, {171, 170}}}) {
        SCOPED_TRACE("module " + std::to_string(each.module));
        rig r(sim::chip_tree("zt410").with_u32("/dram_config", "emi_clock", 1066));
        r.loaded();
        only(r, each.module);
        r.run({at_emi(1, {.read = 201, .write = 100}), at_emi(7, {.read = 40})});
        expect_trace(trace_of_read(r, "bw_total"),
                     expected_dram_trace(each.ports, each.counter,
                                         {each.rates.first * 2000, each.rates.second * 2000}));
    }
}

// With monitors at the EMI ports, CPU's and GPU's efficiencies come from monitors 0, 1 and 7 with
// all their requests, enabled or not.
TEST(total_trace, seeds_of_disabled_processors_are_measured_at_their_monitors) {
    rig r("zt430");
    r.loaded();
    only(r, 99);
    r.run({at_emi(0, {.read = 9, .efficiency = 40}),
           at_emi(1, {.read = 9, .efficiency = 61, .ultra = 50}),
           at_emi(7, {.read = 9, .efficiency = 90})});

    lines expected;
    add_effi_run(expected, {"effi_monitor0", 0, 0, 40, 0, 0});
    add_effi_run(expected, {"effi_monitor1", 0, 0, 61, 512, 0});
    add_effi_run(expected, {"effi_monitor7", 0, 0, 90, 0, 0});
    expect_trace(trace_of_read(r, "bw_total"), expected);
}

// Port 3 of larb 0, which is input 0 of SMI common 0; 100 MB/s are 100,000 units in 16 ms. The
// period of 400 ns is 200 cycles of 500 MHz.
TEST(port_trace, larb_port_is_read_written_and_timed_and_then_asked_for_its_limits) {
    rig r(port_chip());
    r.loaded();
    r.run({at_larb(0, 3,
                   {.read = 100,
                    .write = 50,
                    .efficiency = 75,
                    .ultra = 25,
                    .preultra = 50,
                    .burst = 9,
                    .period = 400})},
          {{"larb0", 0x20c, 0x1ab}, {"larb0", 0x78, 0x8}, {"larb0", 0x7c, 0xfff7}});

    lines expected;
    block_trace larb(expected, "larb0");
    for (const auto &[mode, count] : {std::pair{0x204u, 100'000u}, {0x208u, 50'000u}}) {
        add_larb_run(larb, {0x408, 3}, {0x40c, mode});
        larb.r32(0x418, count);
        block_trace(expected, "smi_common0").r32(0x220, 0);
        add_effi_run(expected, {"effi_monitor0", 0x003, 0x7ff, 75, 256, 512, 9});
    }
    add_larb_run(larb, {0x408, 3}, {0x40c, 0x200});
    larb.r32(0x430, 200);
    larb.r32(0x20c, 0x1ab);
    larb.r32(0x78, 0x8);
    larb.r32(0x7c, 0xfff7);
    expect_trace(trace_of_read(r, "bw_larb"), expected);
}

// SMI common 1 has output 0 as its port 0 and inputs 0 and 1 as its ports 1 and 2.
TEST(port_trace, common_ports_are_read_all_and_written_all_before_efficiencies_are_measured) {
    rig r(port_chip()
              .with_u32("/emi_arch", "smi_common_cnt", 1)
              .with_property(path_of_common0, "status", std::string("disabled", 9)));
    r.loaded();
    r.run({at_common(
        1, 1, {.write = 100, .efficiency = 60, .preultra = 100, .burst = 5, .period = 300})});

    lines expected;
    block_trace common(expected, "smi_common1");
    for (const std::uint32_t direction : {0u, 1u}) {
        for (std::uint32_t port = 0; port < 3; port++) {
            const bool moves = direction == 1 && port != 1;
            add_common_run(common, port, direction, moves ? 100'000 : 0);
            common.r32(0x1dc, moves ? 150 : 0);
        }
    }
    common.r32(0x220, 0);
    add_effi_run(expected, {"effi_monitor2", 0x100, 0x700, 60, 0, 1024, 5});
    expect_trace(trace_of_read(r, "bw_scomm"), expected);
}

// Eight ports run in groups of six and two. Monitors run through all groups and are read for each
// channel. Without ports the monitor is only switched on and off.
TEST(port_trace, EMI_ports_run_six_at_a_time_on_two_channels) {
    for (const emi_run &run : {emi_run{8, false}, emi_run{7, true}, emi_run{0, true}}) {
        SCOPED_TRACE(std::to_string(run.ports) + " ports");
        rig r(sim::chip_tree("zt410")
                  .with_property("/emi_arch", run.monitors ? "emi-effi-monitor" : "unused", "")
                  .with_u32("/emi_arch", "emi_port_cnt", run.ports));
        r.loaded();
        set_up(r, run);
        const lines expected = expected_trace(run);
        expect_trace(trace_of_read(r, "bw_emi"), expected);
        EXPECT_EQ(r.peek("emi_cen1+0xf2c"), run.ports != 0 ? 0xf0000005u : 0x999u);
        EXPECT_EQ(trace_of_read(r, "bw_bus").size(), expected.size());
    }
}

TEST(port_trace, broadcast_mode_reaches_as_many_channels_as_there_are) {
    for (const auto &[channels, targets] : {std::pair{1u, 0x0u}, {2u, 0x2u}, {3u, 0x7f02u}}) {
        SCOPED_TRACE(std::to_string(channels) + " channels");
        rig r(sim::chip_tree("zt440").with_u32("/emi_arch", "emi_cnt", channels));
        r.loaded();
        r.machine().set_tracing(true);
        r.write("bw_emi_lmt", std::to_string(channels) + " 2 1\n");
        lines expected;
        add_broadcast(expected, true, targets);
        block_trace channel(expected, "emi_cen0");
        channel.update32(0x110, 0, 1);
        channel.wmb();
        add_broadcast(expected, false, 0);
        expect_trace(r.trace(), expected);
    }
}

}  // namespace tests
