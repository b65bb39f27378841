// SPDX-License-Identifier: GPL-2.0-only
// Every request that the module makes of the kernel fails once, one after the other. The number of
// these points is pinned: a new request shows, and with it the question of what its failure does.
#include <algorithm>
#include <sstream>

#include "tests/fault_sweep.h"
#include "tests/pattern.h"
#include "tests/rig.h"

namespace tests {

struct load_points {
    fault_kind kind;
    std::uint64_t points;
    std::uint64_t harmless;  // of these, such as loading survives
};

void PrintTo(const load_points &each, std::ostream *out) {
    *out << name_of(each.kind);
}

class fault_sweep_of_loading : public testing::TestWithParam<load_points> {};

// Memory: channel frequencies, 8 monitors, the list, the traffic generator's 3 arrays, an array for
// each of 9 modules with larbs and 5 with SMI commons, 21 port groups, the FIFO list. Mappings: 8
// monitors, 6 FIFOs. Nodes: the two configurations; 16 modules and 6 FIFOs, each counted and
// walked to the end. Properties: 5 and 3 of the configurations, 3 of each module and FIFO, the
// traffic generator's alignment, 3 reads of each port group. A property that is not seen once
// changes what a module is, or makes its groups more or fewer than were counted.
INSTANTIATE_TEST_SUITE_P(zt430, fault_sweep_of_loading,
                         testing::Values(load_points{fault_kind::allocation, 49, 1 + 8 + 21},
                                         load_points{fault_kind::mapping, 14, 8},
                                         load_points{fault_kind::node, 50, 4},
                                         load_points{fault_kind::property, 138, 63},
                                         load_points{fault_kind::presence, 179, 179},
                                         load_points{fault_kind::attribute, 24, 0}),
                         [](const auto &each) { return std::string(name_of(each.param.kind)); });

// What a load may log besides the lines of a good one.
bool is_failure_message(const std::string &line) {
    static const std::string permitted(
        "<3>\\[OVK_BW\\](Failed to fetch dramc info|no module list|set_module_list error"
        "|set_fifo_list error|Failed to init ovk_bw_(setup_dram_config|setup_emi_arch_config"
        "|measure_init)|get_module_id_by_name fail|set set_bw_monitor_default_cfg error"
        "|create_\\w+_node fail|Failed to create_sysfs_node)"
        "|<3>\\[OVK_BW\\] error to parse larb/common id"
        "|<[35]>\\[OVK_BW\\]\\w+ create attribute error"
        "|<3>\\[OVK_BW\\] fifo_cnt: [0-5]|<6>\\[OVK_BW\\] OVK EFFI Remove");

    return matches(line, permitted);
}

// The message that ends a log, but for the removals that follow it.
std::string verdict(lines log) {
    std::erase(log, "<6>[OVK_BW] OVK EFFI Remove");
    return log.empty() ? "" : log.back();
}

void expect_permitted_load(fault_kind kind, int code, const lines &log, const lines &good) {
    const bool created = verdict(log).find("Failed to create_sysfs_node") == std::string::npos;
    const bool prepared = verdict(log).find("Failed to init ovk_bw_") == std::string::npos;

    EXPECT_EQ(code, !created ? -12 : !prepared ? -1 : 0) << verdict(log);
    EXPECT_EQ(created, kind != fault_kind::attribute);
    for (const std::string &line : log) {
        EXPECT_TRUE(is_failure_message(line) ||
                    std::find(good.begin(), good.end(), line) != good.end())
            << line;
    }
}

lines good_load(rig &r) {
    EXPECT_EQ(r.machine().load(), 0);
    const lines log = r.log();
    EXPECT_EQ(r.machine().unload(), 0);
    r.log();
    return log;
}

lines lines_of(const std::string &text) {
    std::istringstream stream(text);
    lines all;
    for (std::string line; std::getline(stream, line);) {
        all.push_back(line);
    }
    return all;
}

// A group of ports is what the tree says, or it is not stored and has none.
void expect_whole_groups(rig &r, const lines &good) {
    for (const std::string &line : lines_of(r.machine().read("ip_config").text)) {
        EXPECT_TRUE(line.ends_with("PORT[ ]") ||
                    std::find(good.begin(), good.end(), line) != good.end())
            << line;
    }
}

TEST_P(fault_sweep_of_loading, fails_cleanly_or_does_without) {
    rig r("zt430");
    const lines good = good_load(r);
    const lines config = lines_of(r.loaded().read("ip_config"));
    r.machine().unload();
    r.log();
    std::uint64_t harmless = 0;
    int code = 0;
    lines log;

    const std::uint64_t points = sweep(
        r, GetParam().kind, "zt430 load",
        [&] {
            code = r.machine().load();
            log = r.log();
        },
        [&](std::uint64_t) {
            expect_permitted_load(GetParam().kind, code, log, good);
            harmless += code == 0 ? 1 : 0;
            expect_whole_groups(r, config);
            r.machine().unload();
            r.log();
            EXPECT_EQ(r.machine().holdings(), lines{});
            EXPECT_EQ(good_load(r), good);
        });
    EXPECT_EQ(points, GetParam().points);
    EXPECT_EQ(harmless, GetParam().harmless);
}

TEST(fault_sweep, has_nothing_to_fail_in_unloading) {
    rig r("zt430");
    r.loaded();

    for (const fault_kind kind : all_kinds) {
        r.machine().load();
        const std::uint64_t before = r.machine().requests(kind);
        r.machine().unload();
        EXPECT_EQ(r.machine().requests(kind), before) << name_of(kind);
    }
}

struct read_points {
    const char *soc;
    fault_kind kind;
    std::uint64_t points;
    std::uint64_t unstopped;  // of these, such as leave hardware running until the next read
};

void PrintTo(const read_points &each, std::ostream *out) {
    *out << name_of(each.kind);
}

class fault_sweep_of_total_report : public testing::TestWithParam<read_points> {};

// Memory: settings, the table, one record for each of 16 or 32 modules, two arrays for each of 9 or
// 24 with larbs. The rest goes with the scenario: the larb ports and SMI common inputs that carry
// traffic are looked up once more for their efficiency. A dispatch block that can't be had at the
// end of the last EMI run, and only that, leaves something on: the monitors of the other channels,
// where there are any, or broadcast mode.
INSTANTIATE_TEST_SUITE_P(
    chips, fault_sweep_of_total_report,
    testing::Values(read_points{"zt430", fault_kind::allocation, 2 + 16 + 2 * 9, 0},
                    read_points{"zt430", fault_kind::mapping, 181, 1},
                    read_points{"zt430", fault_kind::node, 187, 1},
                    read_points{"zt430", fault_kind::property, 88, 0},
                    read_points{"zt430", fault_kind::attribute, 0, 0},
                    read_points{"zt440", fault_kind::allocation, 2 + 32 + 2 * 24, 0},
                    read_points{"zt440", fault_kind::mapping, 310, 2},
                    read_points{"zt440", fault_kind::node, 319, 2},
                    read_points{"zt440", fault_kind::property, 158, 0},
                    read_points{"zt440", fault_kind::attribute, 0, 0}),
    [](const auto &each) { return each.param.soc + std::string("_") + name_of(each.param.kind); });

// Bits that are set while the hardware measures.
struct running_bits {
    std::uint64_t address;
    std::uint32_t mask;
};

std::vector<running_bits> running_bits_of(const devicetree::flat_tree &tree) {
    static constexpr struct {
        const char *prefix;
        std::uint32_t offset;
        std::uint32_t mask;
    } kinds[] = {{"larb", 0x400, ~0u},          {"smi_common", 0x1a0, ~0u},
                 {"effi_monitor", 0x000, 0x10}, {"emi_cen", 0x060, 0x40000000},
                 {"emi_dispatch", 0x100, ~0u},  {"emi_dispatch", 0x104, ~0u}};
    std::vector<running_bits> bits;

    for (const auto &node : tree.nodes()) {
        for (const auto &kind : kinds) {
            if (!node->reg.empty() && node->name.starts_with(kind.prefix)) {
                bits.push_back({node->reg[0].start + kind.offset, kind.mask});
            }
        }
    }
    return bits;
}

bool is_stopped(rig &r, const std::vector<running_bits> &bits) {
    return std::all_of(bits.begin(), bits.end(), [&r](const running_bits &each) {
        return (r.chip().peek(each.address, 32) & each.mask) == 0;
    });
}

bool is_measuring_message(const std::string &line) {
    static const std::string permitted(
        "<3>\\[OVK_BW\\](/soc/\\w+@\\w+: of_iomap failed"
        "|Can't find (SMI LARB|SMI COMMON|effi_monitor|EMI|EMI_DISPATCH) device base!!"
        "|can't get property: (in|out)put-port-nr|Can't get smi common port info!!)");

    return matches(line, permitted);
}

// A report that came to its end, or to the end of the page.
bool is_complete(const std::string &report) {
    static const std::string status("[^]*Status: [^\n]*(SAFE|WARNING|DANGER)[^\n]*\n\033\\[K\n");

    return report.size() == 4095 || matches(report, status);
}

void expect_permitted_read(fault_kind kind, std::uint64_t n, const host::machine::read_result &read,
                           const lines &log) {
    if (kind == fault_kind::allocation) {
        EXPECT_EQ(read.code, n == 1 ? -12 : 0);
        EXPECT_EQ(read.text, "");
        EXPECT_EQ(log, lines{});
        return;
    }
    EXPECT_TRUE(is_complete(read.text)) << read.text;
    if (kind == fault_kind::mapping) {
        EXPECT_NE(testing::PrintToString(log).find("of_iomap failed"), std::string::npos);
    }
    for (const std::string &line : log) {
        EXPECT_TRUE(is_measuring_message(line)) << line;
    }
}

void set_up_playback(rig &r, const std::string &soc) {
    r.chip().set_scenario(sim::find_scenario(soc, "playback"));
    r.loaded();
    for (const auto &node : r.machine().tree().nodes()) {
        if (node->string("device_type") == "bw") {
            r.write("bw_total", std::to_string(*node->u32("module-id")) + " 1 16 0");
        }
    }
    r.log();
}

// After every failure a read without one says what it said before; on the big chip, where that
// takes long, after every eighth and where something was left on.
TEST_P(fault_sweep_of_total_report, reports_what_is_left_and_stops_the_hardware) {
    const std::uint64_t retry_every = GetParam().soc == std::string("zt440") ? 8 : 1;
    rig r(GetParam().soc);
    set_up_playback(r, GetParam().soc);
    const std::string good = r.read("bw_total");
    const lines held = r.machine().holdings();
    const std::vector<running_bits> bits = running_bits_of(r.machine().tree());
    host::machine::read_result read;
    std::uint64_t unstopped = 0;
    ASSERT_TRUE(is_complete(good));

    const auto judge = [&](std::uint64_t n) {
        const bool stopped = is_stopped(r, bits);
        expect_permitted_read(GetParam().kind, n, read, r.log());
        EXPECT_EQ(r.machine().holdings(), held);
        unstopped += stopped ? 0 : 1;
        if (!stopped || n % retry_every == 0) {
            EXPECT_EQ(r.read("bw_total"), good);
            EXPECT_EQ(r.log(), lines{});
            EXPECT_TRUE(is_stopped(r, bits));
        }
    };
    const std::uint64_t points = sweep(
        r, GetParam().kind, std::string(GetParam().soc) + " bw_total",
        [&] { read = r.machine().read("bw_total"); }, judge);
    EXPECT_EQ(points, GetParam().points);
    EXPECT_EQ(unstopped, GetParam().unstopped);
    EXPECT_EQ(r.read("bw_total"), good);
}

}  // namespace tests
