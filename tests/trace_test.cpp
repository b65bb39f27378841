// SPDX-License-Identifier: GPL-2.0-only
// Programming sequences of the measurements, access by access.
#include <algorithm>
#include <array>
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

// Says where two traces part, rather than printing both.
void expect_trace(const lines &trace, const lines &expected) {
    const auto [at, wanted] =
        std::mismatch(trace.begin(), trace.end(), expected.begin(), expected.end());

    EXPECT_EQ(at != trace.end() ? *at : "the end", wanted != expected.end() ? *wanted : "the end")
        << "access " << at - trace.begin();
}

struct effi_run {
    const char *monitor;
    std::uint32_t value;
    std::uint32_t mask;
    std::uint32_t efficiency;
    std::uint32_t ultra;
    std::uint32_t preultra;
    std::optional<std::uint32_t> burst = {};  // read for port reports only
};

// Value and mask are both 0 or neither.
void add_effi_run(lines &trace, const effi_run &run) {
    const char *const monitor = run.monitor;
    const std::uint32_t high = run.value;  // of the 64 bits of the control register

    add(trace, monitor, "wmb 0=1 0=0");
    add(trace, monitor, run.mask != 0 ? "8=%x 4=%x" : "4=%x 8=%x", run.mask, run.value);
    add(trace, monitor, "q0?%x00000000:%x00000008", high, high);
    add(trace, monitor, "0?8:8 wmb 0?8:48 wmb 0?48:58 wmb 34?0 ~999-1001 34?1");
    add(trace, monitor, "2c?%x 0?58:18 wmb 0?18:98 wmb", run.efficiency);
    add(trace, monitor, "2c?%x 0?98:18 wmb 0?18:18 wmb", run.ultra);
    if (run.burst) {
        add(trace, monitor, "2c?%x", *run.burst);
    }
    add(trace, monitor, "0?18:18 wmb 0?18:d8 wmb 2c?%x 0?d8:18 wmb", run.preultra);
    add(trace, monitor, "q0?%x00000018:%x00000008 wmb", high, high);
    add(trace, monitor, "q0?%x00000008:%x00000009 wmb", high, high);
    add(trace, monitor, "q0?%x00000009:%x00000008", high, high);
}

// One window of 16 ms of a larb's monitor, after the two stores that choose what it counts.
void add_larb_run(lines &trace, const char *larb, const char *choice) {
    add(trace, larb, "404=1 %s wmb 400=1 ~16000 400=0", choice);
}

void add_broadcast(lines &trace, bool on) {
    add(trace, "emi_dispatch0", "wmb 100=%x 104=%x wmb", on ? 0x7f7f : 0, on ? 0x2 : 0);
}

void add_emi_polls(lines &trace, std::uint32_t count) {
    for (std::uint32_t polls = 0; polls < count; polls++) {
        add(trace, "emi_cen0", "400?1");
    }
    add(trace, "emi_cen0", "400?5");
}

constexpr std::uint32_t emi_clock = 1066;  // MHz

std::string monitor_at(std::uint32_t port) {
    return "effi_monitor" + std::to_string(port);
}

// For a measurement of two channels in 1 ms. Every port moves 20 MB/s on each: 2500 units of 8
// bytes, in 312 requests that take 200 ns. Firmware has set up the lower half of 0x060, and 0xf2c
// with the registers behind it. Channel 1 will lose what is not channel 0's.
void set_up(rig &r, std::uint32_t ports) {
    std::vector<soc::source> sources;
    std::vector<soc::preset> presets = {{"emi_cen0", 0x060, 0xab000012},
                                        {"emi_cen1", 0xf2c, 0x999}};

    for (std::uint32_t port = 0; port < ports; port++) {
        sources.push_back(at_emi(port, {.read = 40, .efficiency = 60, .burst = 3}));
    }
    for (std::uint32_t slot = 0; slot < 6; slot++) {
        presets.push_back({"emi_cen0", 0xf2c + 4 * slot, 0x5});
    }
    r.run(sources, presets);
    r.write("bw_emi", "1\n");
}

void add_cleared(lines &trace) {
    add(trace, "emi_cen0", "400=0 440=0 468=0 4e8=0 4b0=0 f00=0 f04=0 f08=0 f0c=0 f10=0 f14=0");
    add(trace, "emi_cen0", "4f8=0");
}

void add_slot(lines &trace, std::uint32_t slot, std::uint32_t held) {
    const std::uint32_t control = 0xf00 + 4 * slot;
    const std::uint32_t aux = 0xf2c + 4 * slot;

    add(trace, "emi_cen0", "h%x?0:1 h%x?1:3 h%x?3:7", control, control, control);
    add_broadcast(trace, false);
    add(trace, "emi_cen0", "%x?%x", aux, held);
    add_broadcast(trace, true);
    add(trace, "emi_cen0", "%x=f0000005 wmb", aux);
}

// Monitors are started with the first group and go on through the others. The channel is polled
// each millisecond, and once when the monitors have seen enough.
void add_group(lines &trace, std::uint32_t ports, std::uint32_t first) {
    const std::uint32_t count = std::min(ports - first, 6u);
    constexpr std::uint32_t counters[] = {0x428, 0x458, 0x460, 0x464, 0xf18, 0xf1c};

    add_broadcast(trace, true);
    add_cleared(trace);
    add(trace, "emi_cen0", "404=%x", emi_clock * 1000);
    for (std::uint32_t slot = 0; slot < 6; slot++) {
        add_slot(trace, slot, first == 0 ? 0x5 : 0xf0000005);
    }
    add(trace, "emi_cen0", "4f8=ffffffff h4e8?0:2000000");
    for (std::uint32_t slot = 0; slot < count; slot++) {
        add(trace, "emi_cen0", "h%x?7:%x", 0xf00 + 4 * slot, 0x7 | 0x100 << (first + slot));
    }
    add(trace, "emi_cen0", "h400?0:1");
    for (std::uint32_t port = 0; port < ports; port++) {
        add(trace, monitor_at(port), first == 0 ? "0?48:58" : "0?58:58");
    }
    add(trace, "emi_cen0", "wmb");
    add_broadcast(trace, false);
    add_emi_polls(trace, first == 0 ? 2 : 1);
    for (std::uint32_t slot = 0; slot < count; slot++) {
        add(trace, "emi_cen0", "%x?9c4", counters[slot]);
        add(trace, "emi_cen1", "%x?9c4", counters[slot]);
    }
}

// Channel 0 finds what the monitor has seen, channel 1 finds it reset.
void add_readings(lines &trace, const std::string &monitor) {
    add(trace, monitor, "34?1 2c?3c h0?58:18 h0?18:18 wmb 2c?3 0=1 wmb 0=0 34?0");
    for (int polls = 0; polls < 50; polls++) {
        add(trace, monitor, "~999-1001 34?0");
    }
    add(trace, monitor, "2c?0 h0?0:0 h0?0:0 wmb 2c?0 0=1 wmb 0=0");
}

void add_latencies_and_limits(lines &trace, std::uint32_t ports) {
    for (std::uint32_t port = 0; port < ports; port++) {
        for (const char *channel : {"emi_cen0", "emi_cen1"}) {
            add(trace, channel, "%x?%x %x?138 %x?0", 0x500 + 8 * port,
                312 * (200 * emi_clock / 1000), 0x540 + 8 * port,
                port == 1 ? 0x100 : 0x100 + 8 * port);
        }
    }
    for (std::uint32_t port = 0; port < ports; port++) {
        for (const char *channel : {"emi_cen0", "emi_cen0", "emi_cen1", "emi_cen1"}) {
            add(trace, channel, port < 4 ? "d0?0 d4?0" : "d8?0 dc?0");
        }
    }
}

lines emi_trace(std::uint32_t ports) {
    lines trace;

    for (std::uint32_t port = 0; port < ports; port++) {
        add(trace, monitor_at(port), "0=1 wmb 0=0 4=0 8=0 q0?0:8 0?8:8 wmb 0?8:48");
    }
    add_broadcast(trace, true);
    add(trace, "emi_cen0", "h60?12:40000012");
    for (std::uint32_t first = 0; first < ports; first += 6) {
        add_group(trace, ports, first);
    }
    for (std::uint32_t port = 0; port < ports; port++) {
        add_readings(trace, monitor_at(port));
    }
    add_broadcast(trace, false);
    add_latencies_and_limits(trace, ports);
    add_broadcast(trace, true);
    add_cleared(trace);
    add(trace, "emi_cen0", "4f8=0 h4e8?0:0 h60?12:12");
    add_broadcast(trace, false);
    return trace;
}

// A run of 16 ms at some ports, or all, that counts so many units of 8 bytes on each channel.
lines dram_trace(std::uint32_t ports, std::uint32_t counter, const std::array<int, 2> &counts) {
    const std::uint32_t length = 16 * emi_clock * 1000;
    lines trace;

    add_broadcast(trace, true);
    add(trace, "emi_cen0", "q60?0:40000000 400=0 440=0 468=0 4e8=0 4b0=0 f00=0");
    add(trace, "emi_cen0", "404=%x qf00?0:7", length);
    add_broadcast(trace, false);
    add(trace, "emi_cen0", "f2c?0");
    add_broadcast(trace, true);
    add(trace, "emi_cen0", "f2c=f0000000");
    if (ports != 0) {
        add(trace, "emi_cen0", "qf00?7:%x07", ports);
    }
    add(trace, "emi_cen0", "q400?%x00000000:%x00000001 wmb", length, length);
    add_broadcast(trace, false);
    add_emi_polls(trace, 16);
    add(trace, "emi_cen0", "%x?%x", counter, counts[0]);
    add(trace, "emi_cen1", "%x?%x", counter, counts[1]);
    add_broadcast(trace, true);
    add(trace, "emi_cen0", "q60?40000000:0");
    add_broadcast(trace, false);
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
    add_larb_run(expected, "larb7", "40c=400 408=3020100");
    add(expected, "larb7", "410?0 414?%x 418?0 41c?0", 1'600'000);
    add(expected, "smi_common2", "220?0");
    add_effi_run(expected, {"effi_monitor4", 0x401, 0x7ff, 75, 256, 512});
    add_larb_run(expected, "larb7", "40c=400 408=4");
    add(expected, "larb7", "410?0");
    expect_trace(trace_of_read(r, "bw_total"), expected);
}

// The CPU's are ports 0 and 1, the GPU's is port 7. 301 MB/s are split 151 and 150.
TEST(total_trace, processors_and_reference_are_counted_on_both_channels_through_broadcast) {
    for (const auto &[module, ports, counter, counts] :
         {std::tuple{0u, 0x03u, 0x428u, std::array{302'000, 300'000}},
          {1, 0x80, 0x428, {40'000, 40'000}},
          {12, 0, 0x420, {342'000, 340'000}}}) {
        SCOPED_TRACE("module " + std::to_string(module));
        rig r(sim::chip_tree("zt410").with_u32("/dram_config", "emi_clock", emi_clock));
        r.loaded();
        only(r, module);
        r.run({at_emi(1, {.read = 201, .write = 100}), at_emi(7, {.read = 40})});
        expect_trace(trace_of_read(r, "bw_total"), dram_trace(ports, counter, counts));
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
                    .period = 400})});
    r.pin({{"larb0+0x20c", 0x1ab}, {"larb0+0x78", 0x8}, {"larb0+0x7c", 0xfff7}});

    lines expected;
    for (const auto &[choice, count] :
         {std::pair{"408=3 40c=204", 100'000}, {"408=3 40c=208", 50'000}}) {
        add_larb_run(expected, "larb0", choice);
        add(expected, "larb0", "418?%x", count);
        add(expected, "smi_common0", "220?0");
        add_effi_run(expected, {"effi_monitor0", 0x003, 0x7ff, 75, 256, 512, 9});
    }
    add_larb_run(expected, "larb0", "408=3 40c=200");
    add(expected, "larb0", "430?%x 20c?1ab 78?8 7c?fff7", 200);
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
    for (const std::uint32_t direction : {0u, 1u}) {
        for (std::uint32_t port = 0; port < 3; port++) {
            const bool moves = direction == 1 && port != 1;
            add(expected, "smi_common1", "1a4=1 1b0=%x 1ac=%x wmb 1a0=1 ~16000 1a0=0",
                port << 4 | 1, direction);
            add(expected, "smi_common1", "1cc?%x 1dc?%x", moves ? 100'000 : 0, moves ? 150 : 0);
        }
    }
    add(expected, "smi_common1", "220?0");
    add_effi_run(expected, {"effi_monitor2", 0x100, 0x700, 60, 0, 1024, 5});
    expect_trace(trace_of_read(r, "bw_scomm"), expected);
}

// Monitors run through both groups and are read for each channel. Without ports the monitor of the
// channels is only switched on and off.
TEST(port_trace, EMI_ports_run_six_at_a_time_on_two_channels) {
    for (const std::uint32_t ports : {7u, 0u}) {
        SCOPED_TRACE(std::to_string(ports) + " ports");
        rig r(sim::chip_tree("zt410")
                  .with_property("/emi_arch", "emi-effi-monitor", "")
                  .with_u32("/emi_arch", "emi_port_cnt", ports));
        r.loaded();
        set_up(r, ports);
        const lines expected = emi_trace(ports);
        expect_trace(trace_of_read(r, "bw_emi"), expected);
        EXPECT_EQ(r.peek("emi_cen1+0xf2c"), ports != 0 ? 0xf0000005u : 0x999u);
        EXPECT_EQ(trace_of_read(r, "bw_bus").size(), expected.size());
    }
}

}  // namespace tests
