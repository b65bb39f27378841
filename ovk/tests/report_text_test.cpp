// SPDX-License-Identifier: GPL-2.0-only
// Texts that are cut, damaged or unusual: what is not sure is not known.
#include <nlohmann/json.hpp>

#include "ovk/report/render.h"
#include "ovk/report/replay.h"
#include "ovk/report/take.h"
#include "ovk/tests/chip_source.h"
#include "ovk/tests/program.h"

namespace ovk::tests {

namespace {

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

any_report report_of(const std::string &attribute, const std::string &text) {
    const operation done = {.attribute = attribute, .came = {text}};
    const auto report = parse_operation(done);
    ports_report ports;
    limits_report limits;

    if (attribute == "larb_module_list") {
        add_larb_modules(ports, {done.came});
        return ports;
    } else if (attribute == "cpupri") {
        add_cpu_ranges(limits, {done.came});
        return limits;
    }
    return report ? *report : parse_ip_config({done.came});
}

json figures_in(const any_report &report) {
    json object = json_of(report);
    for (const char *about : {"complete", "reason", "unparsed"}) {
        object.erase(about);
    }
    return object;
}

struct view {
    const char *attribute;
    bool has_an_end;  // and can't be complete before
    lines settings = {};
};

const view views[] = {
    {"bw_total", true},
    {"bw_total", true, {"simple_mon 1"}},
    {"bw_larb", true, {"bw_larb 2 16"}},
    {"bw_larb", true, {"bw_larb 0 16"}},
    {"bw_scomm", false},
    {"bw_emi", true},
    {"bw_emi", false, {"bw_emi_detail 1"}},
    {"bw_bus", true},
    {"fifo_status", true},
    {"ip_config", false},
    {"larb_module_list", false},
    {"cpupri", false, {"cpupri 1 0 0x40000000 0x10000", "cpupri 1 1 0x1000 0x1000"}},
};

// What a larb report says of one port, of which this is the row.
json larb_with(const std::string &row) {
    return json_of(report_of(
        "bw_larb",
        "SMI_LARB 7\n ID  OL  U PU  R_BW  W_BW  M_CP    B    E   UR  PUR\n" + row + "\n"));
}

std::vector<bar_figures> bars_in(const std::string &line) {
    return parse_total(reading{{line + "\n"}}).bars;
}

// zt410 with another name for its module 2, which is behind larbs.
chip_source chip_with(const std::string &name) {
    return {sim::chip_tree("zt410").with_property("/bw_modules/bw_evd", "module-name",
                                                  std::string(name.c_str(), name.size() + 1)),
            "zt410", "overload"};
}

void expect_no_other_figures(chip_source &chip, const view &each) {
    for (const std::string &setting : each.settings) {
        chip.set(setting);
    }
    std::string text = chip.read(each.attribute).text;
    const any_report report = report_of(each.attribute, text);
    const json whole = figures_in(report);
    EXPECT_TRUE(head_of(report).complete) << each.attribute << text;
    while (!text.empty()) {
        text.pop_back();
        const any_report cut = report_of(each.attribute, text);
        const json some = figures_in(cut);
        ASSERT_TRUE(is_part_of(some, whole)) << text << some.dump(1);
        ASSERT_TRUE(!each.has_an_end || !head_of(cut).complete || some == whole) << text;
    }
}

}  // namespace

TEST(cut_report, at_any_byte_has_no_figure_that_the_whole_one_does_not_have) {
    chip_source chip("zt410", "overload");
    for (const view &each : views) {
        expect_no_other_figures(chip, each);
    }
}

TEST(columns_of_a_report, are_told_apart_where_they_touch) {
    const auto values = [](const std::string &row) {
        const json port = larb_with(row)["larbs"][0]["ports"].at(0);
        return json(std::vector<json>(port.begin(), port.end())).dump();
    };
    EXPECT_EQ(values("  0   0  0  0     0     0123455    1   80    2    3"),
              "[0,0,false,false,0,0,123455,1,80,2,3]");
    EXPECT_EQ(values(" 31  3f  1  199999988888877777711111222223333344444"),
              "[31,63,true,true,999999,888888,777777,11111,22222,33333,44444]");
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
        const json report = larb_with(row);
        EXPECT_EQ(report["larbs"][0]["ports"], json::array()) << row;
        EXPECT_EQ(report["unparsed"], row.empty() ? json::array() : json::array({row}));
        EXPECT_EQ(report["complete"], false);
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
        chip_source chip = chip_with(name);
        const total_report total = parse_total(take_total(chip));
        EXPECT_TRUE(total.head.complete) << name;
        EXPECT_EQ(total.modules.at(2).name, name);
        EXPECT_EQ(total.bars.at(2).name, name);
        EXPECT_EQ(total.modules[2].bus_mbps, total.bars[2].bus_mbps);
        larb_selector selector(chip);
        EXPECT_EQ(selector.take(selector.id_of("2")).module, name);
        EXPECT_EQ(selector.ports().modules.at(2).name, name);
        EXPECT_EQ(selector.ports().larb_modules.at(0).name, name);
        chip.write("simple_mon", "1");
        EXPECT_EQ(parse_total(take_total(chip)).modules.at(2).name, name);
        EXPECT_EQ(json::parse(json_of(total).dump()), json_of(total));
    }
}

// All that follows it on the line is in a wrong column.
TEST(name_in_a_report, that_is_longer_leaves_its_line_unparsed) {
    chip_source chip = chip_with("ABCDEFGHIJK");
    const total_report total = parse_total(take_total(chip));

    EXPECT_EQ(total.head.unparsed.size(), 2u) << "row and bar";
    EXPECT_FALSE(total.head.complete);
    EXPECT_EQ(total.modules.at(1).name, "GPU");
    EXPECT_EQ(total.modules.at(2).name, "MVOP");
}

}  // namespace ovk::tests
