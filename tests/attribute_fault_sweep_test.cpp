// SPDX-License-Identifier: GPL-2.0-only
// Every attribute but the reports that measure: each request that it makes of the kernel fails
// once. Registers that are written all the same are part of the expectation.
#include <map>
#include <set>

#include "tests/fault_sweep.h"

namespace tests {

namespace {

struct failure {
    lines log;          // after what a good one logs
    lines writes = {};  // to registers
};

using failures_by_kind = std::map<fault_kind, std::vector<failure>>;

struct operation {
    const char *attribute;
    const char *text;                // to write; none: it is read
    failures_by_kind failures = {};  // one for each request; kinds without any make no request
    std::string shown = "";          // by a read that failed
    long code = 0;                   // of a write that failed; 0: it takes the text all the same
};

std::string unmapped(const std::string &node) {
    return "<3>[OVK_BW]/soc/" + node + ": of_iomap failed";
}

// One look-up and one mapping of a node, each followed by these messages.
failures_by_kind one_block(const std::string &node, const lines &messages) {
    lines when_unmapped = {unmapped(node)};

    when_unmapped.insert(when_unmapped.end(), messages.begin(), messages.end());
    return {{fault_kind::node, {{messages}}}, {fault_kind::mapping, {{when_unmapped}}}};
}

// A setting of an EMI port on all channels, by these writes: the one there is is looked up, then
// the dispatch block to switch broadcast mode on and off.
failures_by_kind all_channels(const lines &setting) {
    const std::string no_channel = "<3>[OVK_BW]Can't find EMI device base!!";
    const std::string no_dispatch = "<3>[OVK_BW]Can't find EMI_DISPATCH device base!!";
    const std::string wrong = "<6>Something Wrong!!";
    lines setting_and_off = setting;
    lines on_and_setting = {"W32 emi_dispatch0+0x100 0x00007f7f",
                            "W32 emi_dispatch0+0x104 0x00000000"};

    setting_and_off.insert(setting_and_off.end(), {"W32 emi_dispatch0+0x100 0x00000000",
                                                   "W32 emi_dispatch0+0x104 0x00000000"});
    on_and_setting.insert(on_and_setting.end(), setting.begin(), setting.end());
    return {{fault_kind::node,
             {{{no_channel, wrong}},
              {{no_dispatch}, setting_and_off},
              {{no_dispatch}, on_and_setting}}},
            {fault_kind::mapping,
             {{{unmapped("emi_cen0@1c040000"), no_channel, wrong}},
              {{unmapped("emi_dispatch0@1c048000"), no_dispatch}, setting_and_off},
              {{unmapped("emi_dispatch0@1c048000"), no_dispatch}, on_and_setting}}}};
}

// In an order in which each finds what it needs.
const std::vector<operation> &operations() {
    static const std::vector<operation> table = {
        {"bw_total", "1 1 16 0\n"},
        {"simple_mon", "1\n"},
        {"bw_scomm", "20\n"},
        {"bw_larb", "2 20\n"},
        {"bw_emi", "20\n"},
        {"bw_emi_detail", "1\n"},
        {"bw_emi_lmt", nullptr},
        {"bw_emi_lmt", "1 3 2a\n", all_channels({"W32 emi_cen0+0x118 0x0000002a"})},
        {"bw_emi_timer", nullptr},
        {"bw_emi_timer", "1 4 1 5a\n", all_channels({"W32 emi_cen0+0x120 0x5a000000"})},
        {"bw_emi_ostd", nullptr},
        {"bw_emi_ostd", "1 5 1 a7\n",
         all_channels({"W32 emi_cen0+0x0dc 0x0000a000", "W32 emi_cen0+0x0d8 0x00007000"})},
        {"larb_ostdl", "0 2\n"},
        {"larb_ostdl", nullptr,
         one_block("larb0@1c080000", {"<3>[OVK_BW]Can't find SMI LARB 0 device base!!",
                                      "<3>[OVK_BW]get_larb_ostdl fail!!"}),
         "larb id: 0, port id: 2, ostdl: 0x0\033[K\n"},
        {"larb_config", "0 0 2 3f\n",
         one_block("larb0@1c080000", {"<3>[OVK_BW]Can't fine SMI LARB device base!!"})},
        {"cpupri", "1 0 0x80000000 0x100000\n", one_block("cpu_pri@1c020000", {}), "", -1},
        {"cpupri", nullptr, one_block("cpu_pri@1c020000", {})},
        {"cpupri_slot", nullptr, one_block("cpu_pri@1c020000", {})},
        {"mask", "0 3 1\n", {{fault_kind::mask, {{{"<3>[OVK_BW]Mask error!!"}}}}}},
        {"fifo_status", "1\n"},
        {"fifo_status", nullptr},
        {"fifo_status_clear", "1\n"},
        {"ip_config", nullptr},
        {"larb_module_list", nullptr},
        {"emi_setting", nullptr, one_block("emi_cen0@1c040000", {})},
        {"debug_log_on", "0\n"},
        {"debug_log_on", nullptr},
        {"reg_op", "1c080208 12\n", {{fault_kind::mapping, {{{}}}}}},
        {"reg_op", "1c080208 0 1\n", {{fault_kind::mapping, {{{}}}}}},
        {"reg_op", nullptr, {{fault_kind::mapping, {{{}}}}}},
        {"fake_engine", "0 80000000 1000 1 a5a5\n",
         one_block("miu2gmc0@1c0c0000", {"<3>[OVK_BW]Can't find MIU2GMC_DRV [0] device base!!"})},
        {"fake_engine", nullptr},
        {"fake_eng_loop", "0 1\n",
         one_block("miu2gmc0@1c0c0000", {"<3>[OVK_BW] Can't find MIU2GMC_DRV[0] device base!!"})},
    };
    return table;
}

void PrintTo(const operation &each, std::ostream *out) {
    *out << (each.text != nullptr ? testing::PrintToString(each.text) : "a read");
}

// What came of an operation.
struct outcome {
    long code;
    std::string shown;
    lines log;
    lines writes;

    bool operator==(const outcome &) const = default;
};

void PrintTo(const outcome &came, std::ostream *out) {
    *out << came.code << " " << testing::PrintToString(came.shown) << " "
         << testing::PrintToString(came.log) << " " << testing::PrintToString(came.writes);
}

outcome carry_out(rig &r, const operation &wanted) {
    outcome came{};

    r.machine().take_trace();
    if (wanted.text != nullptr) {
        came.code = r.machine().write(wanted.attribute, wanted.text);
    } else {
        const auto read = r.machine().read(wanted.attribute);
        came.code = read.code;
        came.shown = read.text;
    }
    came.log = r.log();
    for (const std::string &access : r.trace()) {
        if (access.starts_with("W")) {
            came.writes.push_back(access);
        }
    }
    return came;
}

outcome expected_of(const operation &wanted, const outcome &good, const failure &failed) {
    outcome expected{good.code, wanted.shown, good.log, failed.writes};

    if (wanted.text == nullptr) {
        expected.code = static_cast<long>(wanted.shown.size());
    } else if (wanted.code != 0) {
        expected.code = wanted.code;
    }
    expected.log.insert(expected.log.end(), failed.log.begin(), failed.log.end());
    return expected;
}

std::vector<failure> failures_of(const operation &wanted, fault_kind kind) {
    const auto found = wanted.failures.find(kind);

    return found != wanted.failures.end() ? found->second : std::vector<failure>();
}

}  // namespace

class fault_sweep_of_attribute : public testing::TestWithParam<operation> {};

INSTANTIATE_TEST_SUITE_P(zt430, fault_sweep_of_attribute, testing::ValuesIn(operations()),
                         [](const auto &each) {
                             return std::to_string(each.index) + "_" + each.param.attribute +
                                    (each.param.text != nullptr ? "_store" : "_show");
                         });

TEST_P(fault_sweep_of_attribute, says_what_failed_leaves_nothing_and_works_the_next_time) {
    const operation &wanted = GetParam();
    rig r("zt430");
    r.loaded();
    for (const operation &before : operations()) {
        if (before.attribute == std::string(wanted.attribute) && before.text != nullptr) {
            carry_out(r, before);
        }
    }
    r.machine().set_tracing(true);
    carry_out(r, wanted);
    const outcome good = carry_out(r, wanted);
    const lines held = r.machine().holdings();

    for (const fault_kind kind : all_kinds) {
        const std::vector<failure> failures = failures_of(wanted, kind);
        outcome came{};
        const std::uint64_t points = sweep(
            r, kind, wanted.attribute, [&] { came = carry_out(r, wanted); },
            [&](std::uint64_t n) {
                ASSERT_LE(n, failures.size());
                EXPECT_EQ(came, expected_of(wanted, good, failures[n - 1]));
                EXPECT_EQ(r.machine().holdings(), held);
                EXPECT_EQ(carry_out(r, wanted), good);
            });
        EXPECT_EQ(points, failures.size()) << name_of(kind);
    }
}

TEST(fault_sweep, leaves_no_attribute_out) {
    rig r("zt430");
    r.loaded();
    // Swept as reports that measure.
    std::set<std::string> reads = {"bw_total", "bw_scomm", "bw_larb", "bw_emi", "bw_bus"};
    std::set<std::string> writes;

    for (const operation &each : operations()) {
        (each.text != nullptr ? writes : reads).insert(each.attribute);
    }
    for (const host::attribute_info &attribute : r.machine().attributes()) {
        EXPECT_EQ(reads.contains(attribute.name), (attribute.mode & 0400) != 0) << attribute.name;
        EXPECT_EQ(writes.contains(attribute.name), (attribute.mode & 0200) != 0) << attribute.name;
    }
}

}  // namespace tests
