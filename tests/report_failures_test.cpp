// SPDX-License-Identifier: GPL-2.0-only
// What the reports say of blocks that can't be had or that hang.
#include "tests/port_chip.h"
#include "tests/report_text.h"
#include "tests/watched_bus.h"

namespace tests {

namespace {

// Lines of the log.
const std::string no_larb = "<3>[OVK_BW]Can't find SMI LARB device base!!\n";
const std::string no_common = "<3>[OVK_BW]Can't find SMI COMMON device base!!\n";
const std::string no_channel = "<3>[OVK_BW]Can't find EMI device base!!\n";
const std::string no_dispatch = "<3>[OVK_BW]Can't find EMI_DISPATCH device base!!\n";
const std::string no_monitor = "<3>[OVK_BW]Can't find effi_monitor device base!!\n";
const std::string no_inputs = "<3>[OVK_BW]can't get property: input-port-nr\n";
const std::string no_outputs = "<3>[OVK_BW]can't get property: output-port-nr\n";
const std::string no_ports = "<3>[OVK_BW]Can't get smi common port info!!\n";
const std::string emi_time_out = "<3>[OVK_BW]EMI monitor time out\n";

std::string unmapped(const std::string &node) {
    return "<3>[OVK_BW]/" + node + ": of_iomap failed\n";
}

std::string times(std::size_t count, const std::string &part) {
    std::string all;

    for (std::size_t i = 0; i < count; i++) {
        all += part;
    }
    return all;
}

std::string log_of(rig &r) {
    std::string all;

    for (const std::string &line : r.log()) {
        all += line + "\n";
    }
    return all;
}

}  // namespace

// At larbs and inputs 80 % are measured: 100 MB/s cost 125. The larb report ends with its totals.
// Without its port counts SMI common 0's input 3 is taken to be port 3, which is larb 1's.
// Broadcast mode is switched 32 times for eight EMI ports; without it channel 0 alone counts.
TEST(missing_blocks, are_named_and_end_or_empty_the_measurement_that_needs_them) {
    using enum host::fault_kind;
    // Attribute, what it misses, the row of the report or none, and the log.
    for (const auto &[attribute, kind, name, row, log] :
         {std::tuple{"bw_larb", node, "larb1", "100 80 125", no_larb},
          {"bw_larb", node, "quorix,smi", "300 0 0", ""},
          {"bw_larb", property, "smi_common0:quorix,common-id", "300 0 0", ""},
          {"bw_larb", mapping, "effi_monitor0", "300 0 0",
           times(3, unmapped("effi_monitor0@1c018000") + no_monitor)},
          {"bw_scomm", property, "smi_common1:input-port-nr", "", no_inputs + no_ports},
          {"bw_scomm", mapping, "smi_common1", "Out 0 350 0 100 0 - - - -",
           unmapped("smi_common1@1c014000") + no_common},
          {"bw_scomm", node, "effi_monitor2", "In 1 70 0 100 0 0 0 0 0", no_monitor},
          {"bw_emi", node, "emi_cen1", "", no_channel},
          {"bw_emi", node, "emi_dispatch0", "7 150 70 1 214 100", times(32, no_dispatch)},
          {"bw_total", property, "smi_common0:output-port-nr", "1 TSP TS 170 80 212 0 0",
           no_outputs + no_ports}}) {
        SCOPED_TRACE(std::string(attribute) + " without " + name);
        const bool refused = log.ends_with(no_channel);
        const bool empty = *row == '\0';
        rig r(port_chip({"3", "4", "5"}));
        r.loaded();
        r.run({at_larb(0, 3, {.read = 100}), at_larb(1, 4, {.read = 100}),
               at_larb(2, 5, {.read = 100}), at_common(0, 3, {.read = 50}),
               at_common(1, 1, {.read = 70}), at_emi(7, {.read = 300})});
        r.machine().set_tracing(true);
        r.machine().fail_named(kind, name);
        const auto read = r.machine().read(attribute);
        EXPECT_EQ(read.code, refused ? -1 : static_cast<long>(read.text.size()));
        EXPECT_EQ(read.text.empty(), empty);
        EXPECT_EQ(row_with(read.text, row), row);
        EXPECT_EQ(log_of(r), log);
        EXPECT_EQ(r.trace().empty(), empty);
        r.machine().clear_faults();
    }
}

// The requests at monitor 1 are all ultra. Without the monitor they must not be another port's;
// where their efficiency reads 0 they count, and only the bus bandwidth is not known.
TEST(module_failures, a_port_without_a_measured_efficiency_carries_no_priority_weight) {
    for (const bool measured : {false, true}) {
        SCOPED_TRACE(measured ? "measured" : "without the monitor");
        rig r(port_chip({"3", "4"}));
        r.loaded();
        r.run({at_larb(0, 3, {.read = 300, .efficiency = 60, .ultra = 50}),
               at_larb(1, 4, {.read = 300, .efficiency = 0, .ultra = 100}),
               at_common(0, 3, {.write = 300, .efficiency = 0, .ultra = 100})},
              {{"smi_common0", 0x220, 1 << 2 * 1 | 1 << 2 * 3}});
        if (!measured) {
            r.machine().fail_named(host::fault_kind::node, "effi_monitor1");
        }
        const std::string report = r.read("bw_total");
        EXPECT_EQ(row_with(report, "0 GOP"),
                  std::string("0 GOP GFX 600 120 500 ") + (measured ? "75 0" : "25 0"));
        EXPECT_EQ(row_with(report, "1 TSP"),
                  std::string("1 TSP TS 300 0 0 ") + (measured ? "100 0" : "0 0"));
        r.log();
        r.machine().clear_faults();
    }
}

// GOP's port has a window in bw_total, TSP's two have four, and the reference has one. At the EMI
// each group of ports waits for twice the time and 100 ms, and is then given up; only channel 0 is
// asked whether it is done, and the other one then has counted nothing.
TEST(hanging_monitors, cost_their_limit_and_leave_zeros) {
    const std::uint64_t window = 16'000;
    const std::uint64_t polls = 50 * 999;
    const std::uint64_t given_up = 2 * window + 100'000;

    for (const auto &[node, attribute, wait_us, row, time_outs] :
         {std::tuple{"effi_monitor0", "bw_total", 6 * window + polls, "0 GOP GFX 100 0 0 0 0", 0u},
          {"effi_monitor0", "bw_larb", 3 * window + 2 * polls, "3 0 0 0 60 40 100 0 0 0 0", 0},
          {"effi_monitor0", "bw_scomm", 18 * window + polls, "In 0 60 40 100 100 0 0 0 0", 0},
          {"emi_cen0", "bw_total", 5 * window + 999 + given_up, "2 REF_EMI EMI 0 70 0 0 0", 1},
          {"emi_cen0", "bw_emi", 2 * given_up, "ALL 0 0 - 0 -", 2},
          {"emi_cen0", "bw_emi", 2 * given_up, "2 0 70 1 0 0", 2},
          {"emi_cen1", "bw_emi", 2 * window, "2 50 70 1 71 100", 0}}) {
        SCOPED_TRACE(std::string(attribute) + " with " + node);
        rig r(port_chip());
        r.loaded();
        r.run({at_larb(0, 3, {.read = 60, .write = 40})});
        ASSERT_TRUE(r.chip().hang(node));
        EXPECT_EQ(wait_of(r, attribute), wait_us);
        EXPECT_EQ(log_of(r), times(time_outs, emi_time_out));
        EXPECT_EQ(row_with(r.read(attribute), row), row);
        EXPECT_EQ(r.read_code("bw_bus"), node == std::string("emi_cen0") ? -110 : 3);
        EXPECT_EQ(left_on(r), lines{});
    }
}

TEST(hanging_monitors, have_more_polls_at_the_slow_EMI_clocks) {
    for (const auto &[clock, polls] : {std::pair{800u, 50u}, {432u, 500u}, {456u, 500u}}) {
        rig r(port_chip().with_u32("/dram_config", "emi_clock", clock));
        r.loaded();
        r.run({at_larb(0, 3, {.read = 100})});
        r.pin("effi_monitor0+0x34", 0);
        EXPECT_EQ(wait_of(r, "bw_larb"), 3 * 16'000u + polls * 999) << clock;
        r.pin("effi_monitor0+0x34", 1);
        EXPECT_EQ(wait_of(r, "bw_larb"), 3 * 16'000u) << clock;
    }
}

// Port 2 is in the first group of ports, port 7 in the second; the latencies of all are those of
// the last run. The monitor is never done in the run before which its control register is pinned.
TEST(hanging_monitors, of_a_group_take_its_counts_and_the_last_one_the_latencies) {
    for (const int hung : {1, 2}) {
        SCOPED_TRACE("group " + std::to_string(hung));
        watched_machine w(port_chip(), "emi_cen0", 0x404);
        int groups = 0;
        w.bus.set_scenario({"", {at_emi(2, {.read = 300}), at_emi(7, {.read = 300})}, {}});
        w.bus.on_access = [&] {
            w.bus.unpin_all();
            if (++groups == hung) {
                w.bus.pin(w.register_address - 4, 1);
            }
        };

        const std::string report = w.machine.read("bw_emi").text;
        EXPECT_EQ(row_with(report, "2 "), hung == 1 ? "2 0 70 1 0 200" : "2 300 70 1 428 0");
        EXPECT_EQ(row_with(report, "7 "), hung == 1 ? "7 300 70 1 428 200" : "7 0 70 1 0 0");
        groups = 0;
        EXPECT_EQ(w.machine.read("bw_bus").code, -110);
        w.bus.unpin_all();
    }
}

// The second channel finds a monitor reset, so half of the efficiency is left, and waits in vain;
// the trace switch makes it say so. What is missing is looked for four times.
TEST(monitors_at_the_emi, that_are_missing_or_hang_cost_their_port_its_efficiency) {
    const std::string late0 = "<1>[OVK-BW] EFFI [P0] time out\n";
    const std::string late1 = "<1>[OVK-BW] EFFI [P1] time out\n";
    const std::string twice = times(2, unmapped("effi_monitor1@1c019000") + no_monitor);

    for (const auto &[monitor1, row, usage, polls, log] :
         {std::tuple{"works", "1 100 40 4 250 200", "14%\n", 100u, late0 + late1},
          {"hangs", "1 100 0 1 0 200", "12%\n", 150, late0 + late1 + late1},
          {"fails", "1 100 0 1 0 200", "12%\n", 50, twice + late0 + twice}}) {
        SCOPED_TRACE(monitor1);
        rig r(port_chip()
                  .with_property("/emi_arch", "emi-effi-monitor", "")
                  .with_u32("/emi_arch", "emi_port_cnt", 2));
        r.loaded();
        r.run({at_emi(0, {.read = 640, .burst = 8}), at_emi(1, {.read = 100})});
        r.write("debug_log_on", "1\n");
        if (monitor1 == std::string("fails")) {
            r.machine().fail_named(host::fault_kind::mapping, "effi_monitor1");
        } else if (monitor1 == std::string("hangs")) {
            ASSERT_TRUE(r.chip().hang("effi_monitor1"));
        }
        EXPECT_EQ(wait_of(r, "bw_emi"), 16'000 + polls * 999);
        EXPECT_EQ(log_of(r), log);
        const std::string report = clean_read(r, "bw_emi");
        EXPECT_EQ(row_with(report, "0 "), "0 640 40 5 1600 200");
        EXPECT_EQ(row_with(report, "1 "), row);
        EXPECT_EQ(r.read("bw_bus"), usage);
        r.machine().clear_faults();
    }
}

}  // namespace tests
