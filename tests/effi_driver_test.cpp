// SPDX-License-Identifier: GPL-2.0-only
// The driver of the efficiency monitors: which configuration they get, and when.
#include <map>

#include "platform/host/platform_bus.h"
#include "platform/host/services.h"
#include "tests/block_trace.h"

namespace tests {

namespace {

using devicetree::flat_tree;
using host::fault_kind;

// The low and the high byte of each configuration word.
using row = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

const std::map<std::string, std::vector<row>> rows_of_chip = {
    {"zt410", {{{10, 32}, {45, 64}, {70, 84}, {84, 86}, {86, 86}, {86, 86}, {86, 86}, {86, 86}}}},
    {"zt420",
     {{{16, 31}, {42, 56}, {59, 71}, {68, 78}, {72, 81}, {75, 82}, {76, 82}, {77, 88}},
      {{13, 26}, {37, 49}, {54, 65}, {64, 74}, {70, 78}, {73, 80}, {75, 81}, {76, 85}},
      {{18, 37}, {54, 72}, {75, 91}, {81, 92}, {84, 93}, {85, 93}, {87, 93}, {88, 93}}}},
    {"zt430",
     {{{17, 35}, {50, 66}, {71, 85}, {79, 89}, {83, 91}, {84, 92}, {85, 92}, {85, 91}},
      {{14, 29}, {40, 52}, {58, 69}, {69, 79}, {76, 84}, {79, 85}, {79, 86}, {80, 86}}}},
    {"zt440", {{{15, 30}, {42, 56}, {62, 75}, {74, 84}, {77, 86}, {80, 87}, {81, 88}, {82, 90}}}},
};

// Index of the row that the frequencies select. Without channels the tree's clock counts.
struct choice {
    const char *soc;
    std::vector<std::uint32_t> channels;
    std::uint32_t tree_clock;
    std::size_t index;
};

const choice choices[] = {
    {"zt410", {4266, 4266}, 4266, 0}, {"zt410", {3200}, 4266, 0},
    {"zt420", {2666}, 3200, 0},       {"zt420", {3200}, 2666, 1},
    {"zt420", {2133}, 2666, 2},       {"zt420", {3200, 2666}, 2133, 1},
    {"zt420", {2133, 3200}, 2133, 1}, {"zt420", {0, 2133}, 3200, 2},
    {"zt420", {}, 2133, 2},           {"zt420", {}, 3200, 1},
    {"zt420", {0, 0}, 2133, 2},       {"zt420", {1234}, 2133, 0},
    {"zt430", {2666, 2666}, 3200, 0}, {"zt430", {3200, 3200}, 2666, 1},
    {"zt430", {2133}, 3200, 0},       {"zt440", {}, 3200, 0},
    {"zt440", {2666}, 2666, 0},
};

lines monitors_of(const flat_tree &tree) {
    lines names;

    for (const auto &node : tree.nodes()) {
        if (node->name.starts_with("effi_monitor")) {
            names.push_back(node->name);
        }
    }
    return names;
}

// The row's words, one monitor after the other.
lines stores_of(rig &r, const row &words) {
    lines trace;

    for (const std::string &monitor : monitors_of(r.machine().tree())) {
        std::uint32_t offset = 0x0c;
        for (const auto &[low, high] : words) {
            block_trace(trace, monitor).w32(offset, high << 8 | low);
            offset += 4;
        }
    }
    return trace;
}

lines index_lines(rig &r) {
    lines found = r.log();

    std::erase_if(found, [](const std::string &line) {
        return line.find("effi table") == std::string::npos;
    });
    return found;
}

}  // namespace

TEST(effi_driver, writes_the_row_of_the_highest_channel_frequency_in_order) {
    for (const choice &each : choices) {
        SCOPED_TRACE(std::string(each.soc) + " at " + testing::PrintToString(each.channels) +
                     " or " + std::to_string(each.tree_clock));
        rig r(sim::chip_tree(each.soc)
                  .with_property("/dramc", "channel-freq", "")
                  .with_u32("/dram_config", "dram_clock", each.tree_clock),
              each.channels);
        const lines monitors = monitors_of(r.machine().tree());
        r.machine().set_tracing(true);
        ASSERT_EQ(r.machine().load(), 0);
        EXPECT_EQ(r.trace(), stores_of(r, rows_of_chip.at(each.soc)[each.index]));
        EXPECT_EQ(index_lines(r), lines(monitors.size(),
                                        "<3>effi table idx: [" + std::to_string(each.index) + "]"));
        EXPECT_EQ(r.machine().bound_devices().size(), monitors.size());
    }
}

TEST(effi_driver, writes_the_row_again_after_every_loss_of_power) {
    const row &expected = rows_of_chip.at("zt420")[2];
    rig r(sim::chip_tree("zt420"), {2133});
    r.loaded().machine().set_tracing(true);
    EXPECT_EQ(r.machine().suspend(), 0);
    EXPECT_EQ(r.log(), lines(4, "<6>[OVK_BW] OVK EFFI Suspend"));
    EXPECT_EQ(r.machine().resume(), 0);
    EXPECT_EQ(r.log(), lines(4, "<6>[OVK_BW] OVK EFFI Resume"));
    EXPECT_EQ(r.trace(), stores_of(r, expected));

    const device_driver &driver = *ovk_kernel_driver_find("ovk-effi", &platform_bus_type);
    const ovk_dev_pm_ops &power = *driver.record->pm;
    ASSERT_EQ(driver.bound.size(), 4u);
    for (auto *const down : {power.suspend, power.freeze, power.poweroff}) {
        EXPECT_EQ(down(&driver.bound[0]->dev), 0);
        EXPECT_EQ(r.log(), lines{"<6>[OVK_BW] OVK EFFI Suspend"});
    }
    for (auto *const up : {power.resume, power.thaw, power.restore}) {
        r.chip().power_lost();
        for (platform_device *device : driver.bound) {
            EXPECT_EQ(up(&device->dev), 0);
        }
        EXPECT_EQ(r.log(), lines(4, "<6>[OVK_BW] OVK EFFI Resume"));
        EXPECT_EQ(r.trace(), stores_of(r, expected));
    }
}

// The first allocation is the table of channel frequencies.
TEST(effi_driver, leaves_a_monitor_unbound_that_it_cannot_serve) {
    const flat_tree whole = sim::chip_tree("zt420");
    const std::string second = "/soc/effi_monitor1@1d0c1000";
    const std::string unknown_chip = std::string("quorix,other-effi-mon") + '\0';
    const struct {
        flat_tree tree;
        std::uint64_t failing_allocation;  // 0: none
        const char *failing_map;           // "": none
    } cases[] = {
        {sim::chip_tree("zt420"), 3, ""},
        {sim::chip_tree("zt420"), 0, "effi_monitor1"},
        {whole.without_property(second, "reg"), 0, ""},
        {whole.with_property(second, "compatible", unknown_chip), 0, ""},
    };

    for (const auto &each : cases) {
        rig r(flat_tree::from_blob(each.tree.blob()));
        r.machine().fail_nth(fault_kind::allocation, each.failing_allocation);
        r.machine().fail_named(fault_kind::mapping, each.failing_map);
        EXPECT_EQ(r.machine().load(), 0);
        EXPECT_EQ(index_lines(r), lines(3, "<3>effi table idx: [1]"));
        EXPECT_EQ(
            r.machine().bound_devices(),
            (lines{"effi_monitor0@1d0c0000", "effi_monitor2@1d0c2000", "effi_monitor3@1d0c3000"}));
        EXPECT_EQ(r.peek("0x1d0c100c"), 0u);
        EXPECT_NE(r.peek("0x1d0c200c"), 0u);
        EXPECT_EQ(r.machine().unload(), 0);
        EXPECT_EQ(r.log(), lines(3, "<6>[OVK_BW] OVK EFFI Remove"));
    }
}

// A bound monitor's registers are claimed already: a second probe can't have them.
TEST(effi_driver, says_why_a_probe_fails) {
    rig r("zt420");
    r.loaded();
    device_driver &driver = *ovk_kernel_driver_find("ovk-effi", &platform_bus_type);
    platform_device &device = *driver.bound[0];
    const auto probe = driver.record->probe;

    r.machine().fail_nth(fault_kind::allocation, 1);
    EXPECT_EQ(probe(&device), -12);
    EXPECT_EQ(probe(&device), -16);
    device.resources.clear();
    EXPECT_EQ(probe(&device), -22);
    EXPECT_EQ(r.log(), lines{});
}

}  // namespace tests
