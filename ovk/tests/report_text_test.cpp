// SPDX-License-Identifier: GPL-2.0-only
// Texts that are cut, damaged or unusual: what is not sure is not known.
#include "tests/report_text.h"
#include "ovk/report/render.h"
#include "ovk/report/take.h"
#include "ovk/tests/model_source.h"

namespace ovk::tests {

namespace {

using lines = std::vector<std::string>;

// Says nothing that the other does not say at the same place.
bool is_part_of(const json &some, const json &all) {
    if (some.is_object()) {
        const auto &members = some.items();
        return std::all_of(members.begin(), members.end(), [&](const auto &each) {
            return is_part_of(each.value(), all.at(each.key()));
        });
    }
    if (some.is_array()) {
        return some.size() <= all.size() &&
               std::equal(some.begin(), some.end(), all.begin(), is_part_of);
    }
    return some.is_null() || some == all;
}

json figures_of(const any_report &report) {
    json object = json_of(report);
    for (const char *about : {"complete", "reason", "unparsed"}) {
        object.erase(about);
    }
    return object;
}

template <class report, report (*parse)(const reading &)>
any_report parsed_as(const reading &from) {
    return parse(from);
}
any_report parse_larb_list(const reading &from) {
    ports_report report;
    add_larb_modules(report, from);
    return report;
}
any_report parse_ranges(const reading &from) {
    limits_report report;
    add_cpu_ranges(report, from);
    return report;
}

struct view {
    const char *attribute;
    any_report (*parse)(const reading &);
    bool has_an_end;  // and can't be complete before
    lines writes = {};
};

const view views[] = {
    {"bw_total", parsed_as<total_report, parse_total>, true},
    {"bw_total", parsed_as<total_report, parse_total>, true, {"simple_mon=1"}},
    {"bw_larb", parsed_as<larb_report, parse_larb>, true, {"bw_larb=2 16"}},
    {"bw_larb", parsed_as<larb_report, parse_larb>, true, {"bw_larb=0 16"}},
    {"bw_scomm", parsed_as<scomm_report, parse_scomm>, false},
    {"bw_emi", parsed_as<emi_report, parse_emi>, true},
    {"bw_emi", parsed_as<emi_report, parse_emi>, false, {"bw_emi_detail=1"}},
    {"bw_bus", parsed_as<bus_report, parse_bus>, true},
    {"fifo_status", parsed_as<fifo_report, parse_fifo>, true},
    {"ip_config", parsed_as<ports_report, parse_ip_config>, false},
    {"larb_module_list", parse_larb_list, false},
    {"cpupri", parse_ranges, false, {"cpupri=1 0 0x40000000 0x10000", "cpupri=1 1 0x1000 0x1000"}},
};

// A larb report with one port, of which this is the row.
larb_report larb_with(const std::string &row) {
    return parse_larb(
        {{"SMI_LARB 7\n ID  OL  U PU  R_BW  W_BW  M_CP    B    E   UR  PUR\n" + row + "\n"}});
}

// A total report with a bar.
std::vector<bar_figures> bars_in(const std::string &line) {
    return parse_total(reading{{line + "\n"}}).bars;
}

// zt410 with another name for its module 2, which is behind larbs.
devicetree::flat_tree tree_with(const std::string &name) {
    return sim::chip_tree("zt410").with_property("/bw_modules/bw_evd", "module-name",
                                                 std::string(name.c_str(), name.size() + 1));
}

}  // namespace

class cut_report : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(chips, cut_report, testing::Values("zt410", "zt430"),
                         [](const auto &chip) { return chip.param; });

TEST_P(cut_report, at_any_byte_has_no_figure_that_the_whole_one_does_not_have) {
    model_source model(GetParam());
    model.chip.chip().set_scenario(sim::find_scenario(GetParam(), "overload"));

    for (const view &each : views) {
        for (const std::string &write : each.writes) {
            model.write(write.substr(0, write.find('=')), write.substr(write.find('=') + 1));
        }
        reading taken = take_reading(model, each.attribute);
        const any_report report = each.parse(taken);
        const json whole = figures_of(report);
        EXPECT_TRUE(head_of(report).complete) << each.attribute << taken.came.text;
        for (std::string text = taken.came.text; !text.empty();) {
            text.pop_back();
            taken.came.text = text;
            const any_report cut = each.parse(taken);
            const json some = figures_of(cut);
            ASSERT_TRUE(is_part_of(some, whole)) << text << some.dump(1);
            ASSERT_TRUE(!each.has_an_end || !head_of(cut).complete || some == whole) << text;
        }
    }
}

TEST(columns_of_a_report, are_told_apart_where_they_touch) {
    const larb_report report = larb_with("  0   0  0  0     0     0123455    1   80    2    3");
    ASSERT_EQ(report.larbs.at(0).ports.size(), 1u);
    const larb_port_figures &port = report.larbs[0].ports[0];
    EXPECT_EQ(port.write_mbps, 0u);
    EXPECT_EQ(port.max_period_ns, 123455u);
    EXPECT_EQ(port.efficiency_percent, 80u);

    const auto all =
        larb_with(" 31  3f  1  199999988888877777711111222223333344444").larbs[0].ports;
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].outstanding_limit, 0x3fu);
    EXPECT_EQ(all[0].force_preultra, true);
    EXPECT_EQ(all[0].read_mbps, 999999u);
    EXPECT_EQ(all[0].write_mbps, 888888u);
    EXPECT_EQ(all[0].max_period_ns, 777777u);
    EXPECT_EQ(all[0].burst, 11111u);
    EXPECT_EQ(all[0].preultra_percent, 44444u);
}

TEST(line_of_a_report, that_does_not_fit_is_unparsed) {
    const char *rows[] = {
        "  0   0  0  0     0     01234567    1   80    2    3",  // wider than the table
        "  0   0  0  0     0     0 12345    1   80    2    ",    // narrower
        "  0   0  0  0     0     0 12a45    1   80    2    3",   // no number
        "  0   0  0  0     0    -1 12345    1   80    2    3",   // below 0
        "  0   0  0  0     0  0001 12345    1   80    2    3",   // not as printed
        "  0   0  2  0     0     0 12345    1   80    2    3",   // no flag
        "  0   0  0  0     0   0    12345   1   80    2    3",   // in a wrong column
        "  0   0  0  0     0      0 12345   1   80    2    3 ",  // moved
        "",
    };
    for (const std::string row : rows) {
        const larb_report report = larb_with(row);
        EXPECT_TRUE(report.larbs.at(0).ports.empty()) << row;
        EXPECT_EQ(report.head.unparsed, row.empty() ? lines{} : lines{row});
        EXPECT_FALSE(report.head.complete);
    }
    EXPECT_EQ(bars_in("CPU       :   1295 (MB/s)  75 o/oo[   ]").at(0).bus_mbps, 1295u);
    EXPECT_EQ(bars_in("CPU       :12345678 (MB/s)1075 o/oo[   ]").at(0).bus_mbps, 12345678u);
    EXPECT_TRUE(bars_in("CPU       : 12345678 (MB/s)  75 o/oo[   ]").empty());
    EXPECT_TRUE(bars_in("CPU       :   1295 (MB/s)  75 o/oo[   ").empty());
    EXPECT_TRUE(bars_in("CPU  :   1295 (MB/s)  75 o/oo[   ]").empty());
}

TEST(name_in_a_report, may_have_ten_letters_blanks_and_any_bytes) {
    for (const std::string name :
         {"ABCDEFGHIJ", "A B  C", "A  B     J", "a: b", "x :", "\xff\xc3(\x80", "[]|;,\"", "7"}) {
        model_source model(tree_with(name));
        model.chip.chip().set_scenario(sim::find_scenario("zt410", "overload"));
        const total_report total = parse_total(take_reading(model, "bw_total"));
        EXPECT_TRUE(total.head.complete) << name;
        EXPECT_EQ(total.modules.at(2).name, name);
        EXPECT_EQ(total.bars.at(2).name, name);
        EXPECT_EQ(total.modules[2].bus_mbps, total.bars[2].bus_mbps);
        larb_selector selector(model);
        EXPECT_EQ(selector.take(selector.id_of("2")).module, name);
        EXPECT_EQ(selector.ports().modules.at(2).name, name);
        EXPECT_EQ(selector.ports().larb_modules.at(0).name, name);
        model.write("simple_mon", "1");
        const total_report simple = parse_total(take_reading(model, "bw_total"));
        EXPECT_EQ(simple.modules.at(2).name, name);
        EXPECT_EQ(json::parse(json_of(total).dump()), json_of(total));
    }
}

// All that follows it on the line is in a wrong column.
TEST(name_in_a_report, that_is_longer_leaves_its_line_unparsed) {
    model_source model(tree_with("ABCDEFGHIJK"));
    model.chip.chip().set_scenario(sim::find_scenario("zt410", "overload"));
    const total_report total = parse_total(take_reading(model, "bw_total"));

    EXPECT_EQ(total.head.unparsed.size(), 2u) << "row and bar";
    EXPECT_FALSE(total.head.complete);
    EXPECT_EQ(total.modules.at(1).name, "GPU");
    EXPECT_EQ(total.modules.at(2).name, "MVOP");
}

}  // namespace ovk::tests
