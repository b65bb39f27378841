// SPDX-License-Identifier: GPL-2.0-only
// Every request that the module makes of the kernel fails once, one after the other: in loading,
// and in every read and write of every attribute.
#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "tests/attribute_list.h"
#include "tests/port_chip.h"
#include "tests/report_text.h"

namespace tests {

namespace {

using host::fault_kind;

constexpr fault_kind kinds[] = {fault_kind::allocation, fault_kind::mapping,  fault_kind::node,
                                fault_kind::property,   fault_kind::presence, fault_kind::attribute,
                                fault_kind::mask,       fault_kind::wait};

std::string name_of(fault_kind kind, std::uint64_t request) {
    return "kind " + std::to_string(static_cast<int>(kind)) + ", request " +
           std::to_string(request);
}

lines without(lines all, const lines &unwanted) {
    std::erase_if(all, [&unwanted](const std::string &line) {
        return std::find(unwanted.begin(), unwanted.end(), line) != unwanted.end();
    });
    return all;
}

// Whether the part's lines are some of the whole's, in their order.
bool is_part_of(const lines &part, const lines &whole) {
    auto at = whole.begin();

    return std::all_of(part.begin(), part.end(), [&](const std::string &line) {
        at = std::find(at, whole.end(), line);
        return at != whole.end() && at++ != whole.end();
    });
}

// What is still on, but for the last run of the DRAM controller's counters: a total report leaves
// it in the registers when it has ended.
lines running(rig &r) {
    lines places = left_on(r);

    std::erase_if(places, [](const std::string &place) {
        return place.ends_with("+0x400 0x00000005") || place.find("+0xf00 ") != place.npos;
    });
    return places;
}

// What came of reading or writing an attribute.
struct outcome {
    long code;
    std::string text;
    lines log;
    lines stores;  // of a write, to registers
    std::uint64_t waits;
    std::uint64_t waited_us;
};

outcome carry_out(rig &r, const attribute &target, const char *text) {
    const std::uint64_t waits = r.machine().requests(fault_kind::wait);
    const std::uint64_t waited_us = r.machine().waited_us();
    outcome came{};

    r.machine().set_tracing(text != nullptr);
    if (text != nullptr) {
        came.code = r.machine().write(target.name, text);
    } else {
        const auto read = r.machine().read(target.name);
        came.code = read.code;
        came.text = read.text;
    }
    came.log = r.log();
    came.stores = r.trace();
    std::erase_if(came.stores, [](const std::string &access) { return !access.starts_with("W"); });
    came.waits = r.machine().requests(fault_kind::wait) - waits;
    came.waited_us = r.machine().waited_us() - waited_us;
    return came;
}

// After how many failures of an operation something is on until the next time: where the dispatch
// block can't be had for the clean-up, the set-up of the other channels or broadcast mode; where a
// port's monitor can't be had for its only read, the monitor.
const std::map<std::string, std::set<std::uint64_t>> left_on_by = {
    {"bw_total", {1, 2}}, {"bw_emi", {2, 9}},    {"bw_bus", {2, 9}},
    {"bw_emi_lmt", {1}},  {"bw_emi_timer", {1}}, {"bw_emi_ostd", {1}}};

// An error means that nothing was stored. Otherwise a part of the stores is made that would have
// been made, and a report comes to its end or is empty; what can't be mapped is told of where it
// says something else. Nobody who is killed gets a report.
void judge(const attribute &target, fault_kind kind, const outcome &good, const outcome &came) {
    EXPECT_TRUE(kind != fault_kind::wait || came.text.empty()) << came.text;
    if (came.code < 0) {
        EXPECT_EQ(came.code, kind == fault_kind::wait         ? -4
                             : kind == fault_kind::allocation ? -12
                                                              : -1);
        EXPECT_EQ(came.stores, lines{});
    } else if (came.text != good.text) {
        EXPECT_TRUE(came.text.empty() || target.is_complete(came.text)) << came.text;
        EXPECT_TRUE(came.text.empty() || kind != fault_kind::mapping || came.log != good.log);
    } else {
        EXPECT_TRUE(is_part_of(came.stores, good.stores)) << testing::PrintToString(came.stores);
    }
}

void expect_same(const outcome &came, const outcome &good) {
    EXPECT_EQ(came.code, good.code);
    EXPECT_EQ(came.text, good.text);
    EXPECT_EQ(came.log, good.log);
    EXPECT_EQ(came.stores, good.stores);
    EXPECT_EQ(came.waited_us, good.waited_us);
}

// Lets every request of a kind fail. What comes after a failure is good: of a large report that
// takes long, so every eighth is tried, and each after a failure that left something on.
void sweep(rig &r, fault_kind kind, const attribute &target, const char *text,
           std::set<std::uint64_t> &seen) {
    const std::uint64_t before = r.machine().requests(kind);
    const outcome good = carry_out(r, target, text);
    const std::uint64_t points = r.machine().requests(kind) - before;
    const lines held = r.machine().holdings();
    std::uint64_t left_on = 0;

    EXPECT_TRUE(text != nullptr ? good.code > 0 : target.is_complete(good.text)) << good.text;
    for (std::uint64_t n = 1; n <= points; n++) {
        SCOPED_TRACE(name_of(kind, n));
        r.machine().fail_nth(kind, n);
        const outcome came = carry_out(r, target, text);
        r.machine().clear_faults();
        judge(target, kind, good, came);
        if (kind == fault_kind::wait && came.code < 0) {
            EXPECT_EQ(came.waits, n);
            EXPECT_EQ(came.log, lines{});
        }
        EXPECT_EQ(r.machine().holdings(), held);
        EXPECT_EQ(r.machine().take_oopses(), lines{});
        const bool stopped = running(r).empty();
        left_on += stopped ? 0 : 1;
        if (!stopped || points < 100 || n % 8 == 0) {
            expect_same(carry_out(r, target, text), good);
            EXPECT_EQ(running(r), lines{});
        }
    }
    if (left_on != 0) {
        seen.insert(left_on);
    }
}

void sweep(rig &r, const attribute &target, const char *text, std::set<std::uint64_t> &seen) {
    SCOPED_TRACE(text != nullptr ? "write " + std::string(text) : "read");

    carry_out(r, target, text);
    for (const fault_kind kind : kinds) {
        sweep(r, kind, target, text, seen);
    }
}

}  // namespace

class fault_sweep : public testing::TestWithParam<attribute> {};

INSTANTIATE_TEST_SUITE_P(of, fault_sweep, testing::ValuesIn(attribute_list()),
                         [](const auto &each) { return std::string(each.param.name); });

// On chips with two EMI channels, one and three, the first two with monitors at the EMI ports.
TEST_P(fault_sweep, ends_every_failure_well_and_leaves_nothing_behind) {
    const attribute &target = GetParam();
    std::set<std::uint64_t> seen;

    for (const std::string soc : {"zt410", "zt430", "zt440"}) {
        SCOPED_TRACE(soc);
        devicetree::flat_tree tree = sim::chip_tree(soc);
        rig r(soc == "zt410" ? tree.with_property("/emi_arch", "emi-effi-monitor", "")
                             : std::move(tree));
        r.loaded().chip().set_scenario(sim::find_scenario(soc, "playback"));
        for (const char *text : target.texts) {
            sweep(r, target, text, seen);
        }
        if (!target.texts.empty()) {
            r.machine().write(target.name, target.texts[0]);
        }
        if (target.is_readable()) {
            sweep(r, target, nullptr, seen);
        }
    }
    const auto expected = left_on_by.find(target.name);
    EXPECT_EQ(seen, expected != left_on_by.end() ? expected->second : std::set<std::uint64_t>{});
}

namespace {

lines good_load(rig &r) {
    EXPECT_EQ(r.machine().load(), 0);
    const lines log = r.log();
    EXPECT_EQ(r.machine().unload(), 0);
    r.log();
    return log;
}

lines port_groups_in(rig &r) {
    return lines_of(std::istringstream(r.machine().read("ip_config").text));
}

// A group of ports is what the tree says, or it is not stored and has none.
void expect_whole_groups(rig &r, const lines &good) {
    for (const std::string &line : without(port_groups_in(r), good)) {
        EXPECT_TRUE(line.ends_with("PORT[ ]")) << line;
    }
}

// A load that fails says why, and one that succeeds does so unless nobody needed what was missing.
void expect_a_word(fault_kind kind, int code, const lines &said) {
    const bool refused = std::any_of(said.begin(), said.end(), [](const std::string &line) {
        return line.starts_with("<3>[OVK_BW]Failed to ");
    });

    EXPECT_EQ(code, kind == fault_kind::attribute ? -12 : code != 0 ? -1 : 0);
    EXPECT_TRUE(code == 0 || refused) << testing::PrintToString(said);
}

}  // namespace

TEST(fault_sweep_of_loading, fails_cleanly_or_does_without) {
    rig r("zt430");
    const lines config = port_groups_in(r.loaded());
    r.machine().unload();
    r.log();
    const lines good = good_load(r);

    for (const fault_kind kind : kinds) {
        const std::uint64_t before = r.machine().requests(kind);
        good_load(r);
        const std::uint64_t points = r.machine().requests(kind) - before;
        for (std::uint64_t n = 1; n <= points; n++) {
            SCOPED_TRACE(name_of(kind, n));
            r.machine().fail_nth(kind, n);
            const int code = r.machine().load();
            r.machine().clear_faults();
            expect_a_word(kind, code, without(r.log(), good));
            expect_whole_groups(r, config);
            r.machine().unload();
            r.log();
            EXPECT_EQ(r.machine().holdings(), lines{});
            EXPECT_EQ(good_load(r), good);
            EXPECT_EQ(r.machine().take_oopses(), lines{});
        }
    }
}

}  // namespace tests
