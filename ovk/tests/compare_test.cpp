// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "ovk/compare/statistics.h"
#include "ovk/tests/hand_made.h"
#include "ovk/tests/program.h"

namespace ovk::tests {

namespace {

using numbers = std::vector<double>;
using json = nlohmann::json;

constexpr auto unknown = std::nullopt;

// A recording of bw_bus; below 0 stands for a run that timed out.
std::string usage_recording(const scratch &files, const std::string &name,
                            const std::vector<int> &percents) {
    std::vector<operation> reads;
    for (const int each : percents) {
        reads.push_back({.attribute = "bw_bus",
                         .came = each < 0 ? answer{"", ETIMEDOUT, 0, 0}
                                          : answer{std::to_string(each) + "%\n", 0, 0, 0}});
    }
    return recording_of(files, name, reads);
}

json row_with(const json &result, const json &wanted) {
    for (const json &row : result["figures"]) {
        json merged = row;
        merged.update(wanted);
        if (merged == row) {
            return row;
        }
    }
    ADD_FAILURE() << "no row " << wanted;
    return {};
}

}  // namespace

// Halves of seven values have three each, the fourth stands alone.
TEST(compare, has_the_median_and_the_distance_of_the_quartiles) {
    const struct {
        numbers values;
        std::optional<double> median;
        std::optional<double> spread;
    } cases[] = {
        {{}, unknown, unknown},
        {{7}, 7, unknown},
        {{0}, 0, unknown},
        {{9, 4}, 6.5, 5},
        {{10, 30, 20}, 20, 20},
        {{1, 2, 3, 100}, 2.5, 50},               // (3 + 100) / 2 - (1 + 2) / 2
        {{5, 1, 4, 2, 3}, 3, 3},                 // 4.5 - 1.5
        {{70, 10, 60, 20, 50, 30, 40}, 40, 40},  // 60 - 20
        {{8, 8, 8, 8, 8, 8, 8, 9000}, 8, 0},
    };

    for (const auto &each : cases) {
        const summary found = summary_of(each.values);
        EXPECT_EQ(found.count, each.values.size());
        EXPECT_EQ(found.median, each.median) << each.values.size();
        EXPECT_EQ(found.spread, each.spread) << each.values.size();
    }
}

TEST(compare, tells_a_change_from_the_spread_and_by_how_much_it_is_too_large) {
    const struct {
        const char *what;
        summary before;
        summary after;
        std::optional<double> limit;
        change_of_figure expected;
    } cases[] = {
        {"grown", {4, 200, 4}, {4, 212, 8}, 5, {12, 6, true, true}},
        {"at the limit", {4, 200, 4}, {4, 210, 8}, 5, {10, 5, true, false}},
        {"no limit", {4, 200, 4}, {4, 400, 8}, unknown, {200, 100, true, false}},
        {"within A's spread", {4, 200, 12}, {4, 212, 0}, 5, {12, 6, false, false}},
        {"within B's spread", {4, 200, 0}, {4, 212, 13}, 5, {12, 6, false, false}},
        {"fallen", {4, 200, 4}, {4, 100, 8}, 0, {-100, -50, true, false}},
        {"the same", {4, 200, 0}, {4, 200, 0}, 0, {0, 0, false, false}},
        {"from nothing", {4, 0, 0}, {4, 1, 0}, 5, {1, unknown, true, true}},
        {"nothing", {4, 0, 0}, {4, 0, 0}, 5, {0, unknown, false, false}},
        {"seen once", {1, 200, unknown}, {4, 212, 0}, 5, {12, 6, unknown, true}},
        {"unknown before", {}, {4, 212, 0}, 5, {}},
        {"unknown now", {4, 200, 0}, {}, 5, {}},
    };

    for (const auto &each : cases) {
        const change_of_figure found = change_between(each.before, each.after, each.limit);
        EXPECT_EQ(found.difference, each.expected.difference) << each.what;
        EXPECT_EQ(found.percent, each.expected.percent) << each.what;
        EXPECT_EQ(found.beyond_spread, each.expected.beyond_spread) << each.what;
        EXPECT_EQ(found.exceeded, each.expected.exceeded) << each.what;
    }
}

// Medians 50 and 54, 8 % more; spreads 1.5 (51 - 49.5) and 2 (55 - 53).
TEST(compare, ends_with_status_1_when_a_limit_is_exceeded) {
    const scratch files;
    const std::string a = usage_recording(files, "a", {50, 52, -1, 49, 50, 50});
    const std::string b = usage_recording(files, "b", {53, 54, 55});
    const auto compare = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"compare", a, b});
        return ovk_with(options);
    };

    const json result = json::parse(compare({"--format", "json"}).out);
    EXPECT_EQ(result["figures"],
              json::parse(R"([{"report": "bus", "module": null, "block": null, "port": null,
                  "figure": "usage_percent", "a_count": 5, "a_median": 50.0, "a_spread": 1.5,
                  "b_count": 3, "b_median": 54.0, "b_spread": 2.0, "difference": 4.0,
                  "difference_percent": 8.0, "beyond_spread": true, "exceeded": false}])"));
    EXPECT_EQ(result["a"]["reads"], 6);
    EXPECT_EQ(result["a"]["failed"], 1);
    const struct {
        std::vector<std::string> options;
        int status;
    } cases[] = {{{}, 0},
                 {{"--max-increase", "8%"}, 0},
                 {{"--max-increase", "7.9%"}, 1},
                 {{"--max-increase", "5"}, 1},
                 {{"--max-increase", "-5%"}, 2},
                 {{"--max-increase", "some"}, 2},
                 {{"--max-increase", "nan"}, 2},
                 {{"--format", "xml"}, 2}};
    for (const auto &each : cases) {
        EXPECT_EQ(compare(each.options).status, each.status) << each.options.back();
    }
    EXPECT_EQ(ovk_with({"compare", a, files.path("none")}).status, 3);
    EXPECT_EQ(compare({"--format", "csv"}).out,
              "report,module,block,port,figure,a_count,a_median,a_spread,b_count,b_median,b_spread,"
              "difference,difference_percent,beyond_spread,exceeded\n"
              "bus,,,,usage_percent,5,50.0,1.5,3,54.0,2.0,4.0,8.0,true,false\n");
}

// The simple view has no data bandwidths; and the 0 of a run that timed out is no measurement.
TEST(compare, counts_what_a_report_does_not_have_as_unknown) {
    const scratch files;
    const auto view = [](const std::string &mbps, std::vector<std::string> log) {
        return operation{.attribute = "bw_total",
                         .came = {"CPU       : " + mbps + " MB/s\n", 0, 0, 0},
                         .log = std::move(log)};
    };
    const std::string file = recording_of(
        files, "r",
        {view("   100", {}), view("     0", {"[OVK_BW]EMI monitor time out"}), view("   300", {})});
    const json result = json::parse(ovk_with({"compare", file, file, "--format", "json"}).out);

    const json bus = row_with(result, {{"module", "CPU"}, {"figure", "bus_mbps"}});
    EXPECT_EQ(bus["a_count"], 2);
    EXPECT_EQ(bus["a_median"], 200);
    EXPECT_EQ(bus["a_spread"], 200);
    EXPECT_EQ(bus["difference"], 0);
    const json data = row_with(result, {{"module", "CPU"}, {"figure", "data_mbps"}});
    EXPECT_EQ(data["a_count"], 0);
    EXPECT_TRUE(data["a_median"].is_null() && data["difference"].is_null());
    EXPECT_EQ(result["a"]["incomplete"], 3);
}

// What docs/tuning.md says of the same traffic.
TEST(compare, tells_modules_and_ports_of_all_reports_apart) {
    const scratch files;
    const auto record = [&](const std::string &scenario, const std::string &to) {
        EXPECT_EQ(ovk_with({"-s", "sim:zt410," + scenario, "record", "-o", files.path(to),
                            "--count", "2", "--reports", "total,larb,scomm,emi,bus"})
                      .status,
                  0);
    };
    record("playback", "a");
    record("overload", "b");
    const outcome came =
        ovk_with({"compare", files.path("a"), files.path("b"), "--format", "json"});
    const json result = json::parse(came.out);

    EXPECT_EQ(result["a"]["incomplete"], 0);
    EXPECT_EQ(row_with(result, {{"module", "SUM"}, {"figure", "bus_mbps"}})["b_median"], 19095);
    EXPECT_EQ(row_with(result, {{"module", "FRC"}, {"figure", "bus_mbps"}})["b_median"], 3482);
    const json larb = row_with(result, {{"module", "GOP"}, {"block", "larb 7"}, {"port", 1}});
    EXPECT_EQ(larb["a_count"], 2);
    row_with(result, {{"block", "SMI common 0 in"}, {"port", 0}, {"figure", "write_mbps"}});
    row_with(result, {{"block", "all EMI channels"}, {"port", 7}, {"figure", "latency_ns"}});
    row_with(result, {{"report", "bus"}, {"figure", "usage_percent"}});
    EXPECT_NE(ovk_with({"compare", files.path("a"), files.path("b")}).out.find("figures:"),
              std::string::npos);
}

}  // namespace ovk::tests
