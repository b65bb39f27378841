// SPDX-License-Identifier: GPL-2.0-only
// Programming sequences of the port reports, access by access.
#include "tests/block_trace.h"
#include "tests/port_chip.h"

namespace tests {

namespace {

lines trace_of_read(rig &r, const char *attribute) {
    r.machine().set_tracing(true);
    r.read(attribute);
    return r.trace();
}

// A measurement of two channels. Every port moves 20 MB/s for each number from 1 to its own plus
// one, half of it on each channel, and requests take 200 ns.
struct emi_run {
    std::uint32_t ports;
    std::uint32_t clock;  // MHz
    std::uint32_t time;   // ms
    bool monitors;

    std::uint32_t rate(std::uint32_t port) const { return 10 * (port + 1); }
    std::uint32_t requests(std::uint32_t port) const { return rate(port) * 1000 * time / 64; }
    std::uint32_t latency_sum(std::uint32_t port) const {
        return requests(port) * (200 * clock / 1000);
    }
};

constexpr std::uint32_t two_channels = 0x2;
// Registers that firmware had set up: the lower half of 0x060, and channel 0's of 0xf2c on.
constexpr std::uint32_t enable_low = 0x0012;
constexpr std::uint32_t auxiliary = 0x5;

void set_up(rig &r, const emi_run &run) {
    soc::scenario traffic;

    for (std::uint32_t port = 0; port < run.ports; port++) {
        traffic.sources.push_back(
            {soc::source_kind::emi_port,
             0,
             port,
             {.read = 2 * run.rate(port), .efficiency = 60 + port, .burst = 3 + port}});
    }
    for (const char *node : {"emi_cen0", "emi_cen1"}) {
        const std::string place = node;
        traffic.presets.push_back({place, 0x060, 0xab00 << 16 | enable_low});
        traffic.presets.push_back({place, 0x100, 0x11});
        traffic.presets.push_back({place, 0x108, 0x99});
        traffic.presets.push_back({place, 0xd0, 0x87654321});
        traffic.presets.push_back({place, 0xdc, 0x12345678});
        for (std::uint32_t slot = 0; slot < 6; slot++) {
            traffic.presets.push_back({place, 0xf2c + 4 * slot, auxiliary});
        }
    }
    // Channel 1 loses what is not channel 0's.
    traffic.presets.push_back({"emi_cen1", 0xf2c, 0x999});
    r.set_scenario(traffic);
    r.write("bw_emi", std::to_string(run.time) + "\n");
}

void add_cleared(block_trace &channel) {
    for (const std::uint32_t offset :
         {0x400, 0x440, 0x468, 0x4e8, 0x4b0, 0xf00, 0xf04, 0xf08, 0xf0c, 0xf10, 0xf14, 0x4f8}) {
        channel.w32(offset, 0);
    }
}

std::string monitor_of(std::uint32_t port) {
    return "effi_monitor" + std::to_string(port);
}

void add_monitor_preparations(lines &trace, const emi_run &run) {
    for (std::uint32_t port = 0; run.monitors && port < run.ports; port++) {
        block_trace monitor(trace, monitor_of(port));
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
    channel.w32(0x404, run.time * run.clock * 1000);
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
        block_trace(trace, monitor_of(port)).update32(0x00, first == 0 ? 0x48 : 0x58, 0x58);
    }
    channel.wmb();
    add_broadcast(trace, false, 0);
    // A poll each millisecond, and one when the monitors have seen enough.
    const std::uint32_t seen = run.monitors && first == 0 ? 1 : 0;
    for (std::uint32_t polls = 0; polls < run.time + seen; polls++) {
        channel.r32(0x400, 0x1);
    }
    channel.r32(0x400, 0x5);
    for (std::uint32_t slot = 0; slot < count; slot++) {
        for (const char *node : {"emi_cen0", "emi_cen1"}) {
            block_trace(trace, node)
                .r32(counters[slot], run.rate(first + slot) * 1000 * run.time / 8);
        }
    }
}

// Channel 0 finds what the monitor has seen, channel 1 finds it reset.
void add_monitor_readings(lines &trace, const emi_run &run) {
    for (std::uint32_t port = 0; run.monitors && port < run.ports; port++) {
        block_trace monitor(trace, monitor_of(port));
        for (const bool fresh : {false, true}) {
            monitor.r32(0x34, fresh ? 0 : 1);
            for (int polls = 0; fresh && polls < 50; polls++) {
                monitor.sleep("999 1001");
                monitor.r32(0x34, 0);
            }
            monitor.r32(0x2c, fresh ? 0 : 60 + port);
            monitor.update_low16(0x00, fresh ? 0 : 0x58, fresh ? 0 : 0x18);
            monitor.update_low16(0x00, fresh ? 0 : 0x18, fresh ? 0 : 0x18);
            monitor.wmb();
            monitor.r32(0x2c, fresh ? 0 : 3 + port);
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
            channel.r32(0x500 + 8 * port, run.latency_sum(port));
            channel.r32(0x540 + 8 * port, run.requests(port));
            channel.r32(port == 1 ? 0x100 : 0x100 + 8 * port, port < 2 ? 0x11 : 0);
        }
    }
    for (std::uint32_t port = 0; port < run.ports; port++) {
        for (const char *node : {"emi_cen0", "emi_cen0", "emi_cen1", "emi_cen1"}) {
            block_trace channel(trace, node);
            channel.r32(port < 4 ? 0xd0 : 0xd8, port < 4 ? 0x87654321 : 0);
            channel.r32(port < 4 ? 0xd4 : 0xdc, port < 4 ? 0 : 0x12345678);
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

}  // namespace

TEST(port_trace, eight_EMI_ports_on_two_channels_run_six_and_then_two) {
    const emi_run run{.ports = 8, .clock = 1066, .time = 2, .monitors = false};
    rig r("zt410");
    r.loaded();
    set_up(r, run);

    expect_trace(trace_of_read(r, "bw_emi"), expected_trace(run));
    EXPECT_EQ(r.peek("emi_cen1+0xf2c"), 0xf0000005u);
    EXPECT_EQ(trace_of_read(r, "bw_bus").size(), expected_trace(run).size());
}

static devicetree::flat_tree two_channels_with_monitors(std::uint32_t ports) {
    return sim::chip_tree("zt410")
        .with_property("/emi_arch", "emi-effi-monitor", "")
        .with_u32("/emi_arch", "emi_port_cnt", ports);
}

TEST(port_trace, monitors_at_the_EMI_ports_run_through_all_groups_and_are_read_per_channel) {
    const emi_run run{.ports = 7, .clock = 1066, .time = 1, .monitors = true};
    rig r(two_channels_with_monitors(run.ports));
    r.loaded();
    set_up(r, run);

    expect_trace(trace_of_read(r, "bw_emi"), expected_trace(run));
}

TEST(port_trace, without_EMI_ports_the_monitor_is_only_switched_on_and_off) {
    const emi_run run{.ports = 0, .clock = 1066, .time = 1, .monitors = true};
    rig r(two_channels_with_monitors(run.ports));
    r.loaded();
    r.poke("emi_cen0+0x060", enable_low);
    r.write("bw_emi", "1\n");

    expect_trace(trace_of_read(r, "bw_emi"), expected_trace(run));
}

// Port 3 of larb 0, which is input 0 of SMI common 0; 100 MB/s are 100,000 units in 16 ms. The
// period of 400 ns is 200 cycles of 500 MHz.
TEST(port_trace, larb_port_is_read_written_and_timed_and_then_asked_for_its_limits) {
    rig r(port_chip());
    r.loaded();
    soc::scenario traffic;
    traffic.sources = {{soc::source_kind::larb_port,
                        0,
                        3,
                        {.read = 100,
                         .write = 50,
                         .efficiency = 75,
                         .ultra = 25,
                         .preultra = 50,
                         .burst = 9,
                         .period = 400}}};
    traffic.presets = {{"larb0", 0x20c, 0x1ab}, {"larb0", 0x78, 0x8}, {"larb0", 0x7c, 0xfff7}};
    r.set_scenario(traffic);

    lines expected;
    block_trace larb(expected, "larb0");
    for (const auto &[mode, count] :
         {std::pair{0x204u, 100'000u}, {0x208u, 50'000u}, {0x200u, 0u}}) {
        larb.w32(0x404, 1);
        larb.w32(0x408, 3);
        larb.w32(0x40c, mode);
        larb.wmb();
        larb.w32(0x400, 1);
        larb.sleep("16000 16000");
        larb.w32(0x400, 0);
        if (count == 0) {
            larb.r32(0x430, 200);
            continue;
        }
        larb.r32(0x418, count);
        block_trace(expected, "smi_common0").r32(0x220, 0);
        add_effi_run(expected, {"effi_monitor0", 0x003, 0x7ff, 75, 256, 512, 9});
    }
    larb.r32(0x20c, 0x1ab);
    larb.r32(0x78, 0x8);
    larb.r32(0x7c, 0xfff7);
    expect_trace(trace_of_read(r, "bw_larb"), expected);
    EXPECT_NE(r.read("bw_larb").find("  3  ab  1  0   100    50   400    9   75   25   50\033"),
              std::string::npos);
}

// SMI common 1 has output 0 as its port 0 and inputs 0 and 1 as its ports 1 and 2.
TEST(port_trace, common_ports_are_read_all_and_written_all_before_efficiencies_are_measured) {
    rig r(port_chip()
              .with_u32("/emi_arch", "smi_common_cnt", 1)
              .with_property(path_of_common0, "status", std::string("disabled", 9)));
    r.loaded();
    soc::scenario traffic;
    traffic.sources = {
        {soc::source_kind::common_input,
         1,
         1,
         {.write = 100, .efficiency = 60, .preultra = 100, .burst = 5, .period = 300}}};
    r.set_scenario(traffic);

    lines expected;
    block_trace common(expected, "smi_common1");
    for (const std::uint32_t direction : {0u, 1u}) {
        for (std::uint32_t port = 0; port < 3; port++) {
            const bool moves = direction == 1 && port != 1;
            common.w32(0x1a4, 1);
            common.w32(0x1b0, port << 4 | 1);
            common.w32(0x1ac, direction);
            common.wmb();
            common.w32(0x1a0, 1);
            common.sleep("16000 16000");
            common.w32(0x1a0, 0);
            common.r32(0x1cc, moves ? 100'000 : 0);
            common.r32(0x1dc, moves ? 150 : 0);
        }
    }
    common.r32(0x220, 0);
    add_effi_run(expected, {"effi_monitor2", 0x100, 0x700, 60, 0, 1024, 5});
    expect_trace(trace_of_read(r, "bw_scomm"), expected);
}

TEST(port_trace, broadcast_mode_reaches_as_many_channels_as_there_are) {
    for (const auto &[channels, targets] : {std::pair{1u, 0x0u}, {2u, 0x2u}, {3u, 0x7f02u}}) {
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
        EXPECT_EQ(r.trace(), expected);
    }
}

}  // namespace tests
