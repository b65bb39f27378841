// SPDX-License-Identifier: GPL-2.0-only
// Every request that the port reports make of the kernel fails once, one after the other. The
// numbers are pinned: a new request shows, and with it the question of what its failure does.
#include <algorithm>
#include <map>

#include "tests/fault_sweep.h"
#include "tests/pattern.h"
#include "tests/port_chip.h"

namespace tests {

namespace {

bool is_permitted(const std::string &line) {
    static const std::string permitted(
        "<3>\\[OVK_BW\\](/\\w+@\\w+: of_iomap failed"
        "|Can't find (SMI LARB|SMI COMMON|effi_monitor|EMI|EMI_DISPATCH) device base!!"
        "|can't get property: (in|out)put-port-nr|Can't get smi common port info!!"
        "|Can't malloc comm result!!)");

    return matches(line, permitted);
}

// Two larbs with three ports, both SMI commons, and two groups of EMI ports or, with a monitor for
// each, three ports.
devicetree::flat_tree swept_chip(bool monitors_at_emi) {
    devicetree::flat_tree tree = port_chip({"3 4", "0"}).with_u32("/emi_arch", "emi_port_cnt", 7);

    return monitors_at_emi ? tree.with_property("/emi_arch", "emi-effi-monitor", "")
                                 .with_u32("/emi_arch", "emi_port_cnt", 3)
                           : std::move(tree);
}

void set_up(rig &r) {
    soc::scenario traffic;

    traffic.sources = {{soc::source_kind::larb_port, 0, 3, {.read = 100, .write = 60}},
                       {soc::source_kind::larb_port, 1, 0, {.write = 40}},
                       {soc::source_kind::common_input, 1, 1, {.read = 70}},
                       {soc::source_kind::emi_port, 0, 0, {.read = 900}}};
    r.set_scenario(traffic);
    r.loaded();
    r.write("bw_emi", "2\n");
    r.log();
}

}  // namespace

struct port_points {
    const char *attribute;
    bool monitors_at_emi;
    fault_kind kind;
    std::uint64_t points;
    std::uint64_t refused;    // of these, such as end the read with an error
    std::uint64_t emptied;    // and such as leave the report empty
    std::uint64_t unstopped;  // and such as leave hardware on until the next read
};

void PrintTo(const port_points &each, std::ostream *out) {
    *out << each.attribute << (each.monitors_at_emi ? " with EMI monitors " : " ")
         << name_of(each.kind);
}

class fault_sweep_of_ports : public testing::TestWithParam<port_points> {};

// Memory of the larb report: the larbs, and a record and the ports of each; of the common report:
// settings, the commons, and a record and the ports of each; of the EMI's: the records, and the
// ports of each channel and of all. Larbs: two, and for each of three
// efficiencies larb, common and monitor. Commons: each is searched for, asked for its port counts
// and measured, and three inputs have an efficiency. EMI: the channels, then
// the dispatch block for each switch of broadcast mode, 14 in a group of ports and 4 around them;
// each monitor is prepared, started, and read for each channel. A dispatch block that can't be had
// for the clean-up, and only that, leaves something on: the set-up of the other channels, or
// broadcast mode.
INSTANTIATE_TEST_SUITE_P(
    ports, fault_sweep_of_ports,
    testing::Values(port_points{"bw_larb", false, fault_kind::allocation, 5, 1, 4, 0},
                    port_points{"bw_larb", false, fault_kind::mapping, 11, 0, 0, 0},
                    port_points{"bw_larb", false, fault_kind::node, 11, 0, 0, 0},
                    port_points{"bw_larb", false, fault_kind::property, 6, 0, 0, 0},
                    port_points{"bw_scomm", false, fault_kind::allocation, 6, 1, 5, 0},
                    port_points{"bw_scomm", false, fault_kind::mapping, 8, 0, 0, 0},
                    port_points{"bw_scomm", false, fault_kind::node, 12, 0, 2, 0},
                    port_points{"bw_scomm", false, fault_kind::property, 4, 0, 4, 0},
                    port_points{"bw_emi", false, fault_kind::allocation, 4, 4, 0, 0},
                    port_points{"bw_emi", false, fault_kind::mapping, 34, 2, 0, 2},
                    port_points{"bw_emi", false, fault_kind::node, 34, 2, 0, 2},
                    port_points{"bw_emi", true, fault_kind::mapping, 32, 2, 0, 2},
                    port_points{"bw_bus", false, fault_kind::allocation, 4, 4, 0, 0},
                    port_points{"bw_bus", false, fault_kind::mapping, 34, 2, 0, 2},
                    port_points{"bw_bus", true, fault_kind::node, 32, 2, 0, 2}),
    [](const auto &each) {
        return each.param.attribute + std::string("_") + name_of(each.param.kind) +
               (each.param.monitors_at_emi ? "_with_monitors" : "");
    });

TEST_P(fault_sweep_of_ports, report_what_is_left_and_stop_the_hardware) {
    const port_points &param = GetParam();
    const std::string attribute = param.attribute;
    rig r(swept_chip(param.monitors_at_emi));
    set_up(r);
    const std::string good = r.read(attribute);
    const lines held = r.machine().holdings();
    const std::uint64_t before_good = r.machine().waited_us();
    r.read(attribute);
    const std::uint64_t good_wait = r.machine().waited_us() - before_good;
    std::uint64_t refused = 0;
    std::uint64_t emptied = 0;
    std::uint64_t unstopped = 0;
    host::machine::read_result read;

    const auto judge = [&](std::uint64_t n) {
        const bool no_memory = param.kind == fault_kind::allocation;
        const bool first_only = attribute == "bw_larb" || attribute == "bw_scomm";
        if (no_memory) {
            EXPECT_EQ(read.code, !first_only || n == 1 ? -12 : 0);
        } else {
            EXPECT_TRUE(read.code >= 0 || read.code == -1);
        }
        refused += read.code < 0 ? 1 : 0;
        emptied += read.code == 0 ? 1 : 0;
        EXPECT_EQ(r.machine().holdings(), held);
        for (const std::string &line : r.log()) {
            EXPECT_TRUE(is_permitted(line)) << line;
        }
        unstopped += left_on(r).empty() ? 0 : 1;
        const std::uint64_t before = r.machine().waited_us();
        EXPECT_EQ(r.read(attribute), good);
        EXPECT_EQ(r.machine().waited_us() - before, good_wait);
        EXPECT_EQ(r.log(), lines{});
        EXPECT_EQ(left_on(r), lines{});
    };
    EXPECT_EQ(sweep(
                  r, param.kind, attribute, [&] { read = r.machine().read(attribute); }, judge),
              param.points);
    EXPECT_EQ(refused, param.refused);
    EXPECT_EQ(emptied, param.emptied);
    EXPECT_EQ(unstopped, param.unstopped);
}

}  // namespace tests
