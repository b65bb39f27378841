// SPDX-License-Identifier: GPL-2.0-only
// The driver of the efficiency monitors: which configuration they get, and when.
#include <algorithm>
#include <map>

#include "platform/host/platform_bus.h"
#include "platform/host/services.h"
#include "tests/block_trace.h"

namespace tests {

namespace {

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
const struct {
    const char *soc;
    std::vector<std::uint32_t> channels;
    std::uint32_t tree_clock;
    std::size_t index;
} choices[] = {
    {"zt410", {3200}, 4266, 0},       {"zt420", {2666}, 3200, 0}, {"zt420", {2133}, 2666, 2},
    {"zt420", {3200, 2666}, 2133, 1}, {"zt420", {}, 2133, 2},     {"zt420", {2133, 3200}, 2133, 1},
    {"zt420", {0, 0}, 2133, 2},       {"zt420", {}, 3200, 1},     {"zt420", {1234}, 2133, 0},
    {"zt430", {2666, 2666}, 3200, 0}, {"zt430", {3200}, 2666, 1}, {"zt440", {}, 3200, 0},
};

// The row's words, one monitor after the other.
lines stores_of(rig &r, const row &words) {
    lines trace;

    for (const auto &node : r.machine().tree().nodes()) {
        std::uint32_t offset = 0x0c;
        for (const auto &[low, high] : node->name.starts_with("effi_monitor") ? words : row{}) {
            add(trace, node->name, "%x=%02x%02x", offset, high, low);
            offset += 4;
        }
    }
    return trace;
}

}  // namespace

TEST(effi_driver, writes_the_row_of_the_highest_channel_frequency_in_order) {
    for (const auto &[soc, channels, tree_clock, index] : choices) {
        SCOPED_TRACE(std::string(soc) + " at " + testing::PrintToString(channels) + " or " +
                     std::to_string(tree_clock));
        rig r(sim::chip_tree(soc)
                  .with_property("/dramc", "channel-freq", "")
                  .with_u32("/dram_config", "dram_clock", tree_clock),
              channels);
        r.machine().set_tracing(true);
        ASSERT_EQ(r.machine().load(), 0);
        EXPECT_EQ(r.trace(), stores_of(r, rows_of_chip.at(soc)[index]));
        const lines log = r.log();
        const std::string announced = "<3>effi table idx: [" + std::to_string(index) + "]";
        EXPECT_EQ(std::count(log.begin(), log.end(), announced),
                  static_cast<long>(r.machine().bound_devices().size()));
    }
}

TEST(effi_driver, writes_the_row_again_after_every_loss_of_power) {
    rig r(sim::chip_tree("zt420"), {2133});
    r.loaded().machine().set_tracing(true);
    const device_driver &driver = *ovk_kernel_driver_find("ovk-effi", &platform_bus_type);
    const ovk_dev_pm_ops &power = *driver.record->pm;

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
        EXPECT_EQ(r.trace(), stores_of(r, rows_of_chip.at("zt420")[2]));
    }
}

// A bound monitor's registers are claimed already: a second probe can't have them.
TEST(effi_driver, says_why_a_probe_fails) {
    rig r("zt420");
    r.loaded();
    device_driver &driver = *ovk_kernel_driver_find("ovk-effi", &platform_bus_type);
    platform_device &device = *driver.bound[0];
    const auto probe = driver.record->probe;

    r.machine().fail_nth(host::fault_kind::allocation, 1);
    EXPECT_EQ(probe(&device), -12);
    EXPECT_EQ(probe(&device), -16);
    device.resources.clear();
    EXPECT_EQ(probe(&device), -22);
    EXPECT_EQ(r.log(), lines{});
}

}  // namespace tests
