// SPDX-License-Identifier: GPL-2.0-only
#include <nlohmann/json.hpp>

#include "ovk/report/render.h"
#include "ovk/tests/hand_made.h"
#include "ovk/tests/program.h"

namespace ovk::tests {

namespace {

// "-" stands for a run that timed out.
std::string usages(const scratch &files, const std::string &name, const std::string &percents) {
    std::vector<operation> sweeps;
    for (const std::string &each : words_in(percents)) {
        sweeps.push_back(each == "-" ? timed_out_bus
                                     : operation{.attribute = "bw_bus", .came = {each + "%\n"}});
    }
    return recording_of(files, name, sweeps);
}

testing::AssertionResult has_row(const json &result, const json &wanted) {
    for (json row : result["figures"]) {
        const json before = row;
        row.update(wanted);
        if (row == before) {
            return testing::AssertionSuccess();
        }
    }
    return testing::AssertionFailure() << "no row " << wanted << " in: " << result;
}

}  // namespace

// The spread is the distance between the medians of both halves, to neither of which the middle
// value of an odd number belongs.
TEST(compare, tells_a_change_from_the_spread_and_by_how_much_it_is_too_large) {
    const struct {
        const char *before;
        const char *after;
        const char *limit;
        const char *values;
    } cases[] = {
        {"70 10 60 20 50 30 40", "1 2 3 100", "", "7 40.0 40.0 4 2.5 50.0 -37.5 -93.8 false false"},
        {"5 1 4 2 3", "8 8 8 8 8 8 9000", "", "5 3.0 3.0 7 8.0 0.0 5.0 166.7 true false"},
        {"9 4", "10 30 20", "", "2 6.5 5.0 3 20.0 20.0 13.5 207.7 false false"},
        {"0", "7", "", "1 0.0 null 1 7.0 null 7.0 null null false"},
        {"198 202", "208 216", "5%", "2 200.0 4.0 2 212.0 8.0 12.0 6.0 true true"},
        {"198 202", "206 214", "5", "2 200.0 4.0 2 210.0 8.0 10.0 5.0 true false"},
        {"198 202", "206 214", "4.9%", "2 200.0 4.0 2 210.0 8.0 10.0 5.0 true true"},
        {"194 206", "212 212", "5", "2 200.0 12.0 2 212.0 0.0 12.0 6.0 false false"},
        {"200 - 200", "206 212 219", "5", "2 200.0 0.0 3 212.0 13.0 12.0 6.0 false false"},
        {"198 202", "96 104", "0", "2 200.0 4.0 2 100.0 8.0 -100.0 -50.0 true false"},
        {"3 3", "3 3", "0", "2 3.0 0.0 2 3.0 0.0 0.0 0.0 false false"},
        {"0 0", "1 1", "5", "2 0.0 0.0 2 1.0 0.0 1.0 null true true"},
        {"0 0", "0 0", "5", "2 0.0 0.0 2 0.0 0.0 0.0 null false false"},
        {"200", "212 212", "5", "1 200.0 null 2 212.0 0.0 12.0 6.0 null true"},
        {"-", "212 212", "5", "0 null null 2 212.0 0.0 null null null false"},
        {"200 200", "-", "5", "2 200.0 0.0 0 null null null null null false"},
    };
    const lines members = words_in(
        "report module block port figure a_count a_median a_spread b_count b_median b_spread "
        "difference difference_percent beyond_spread exceeded");
    const scratch files;

    for (const auto &[before, after, limit, values] : cases) {
        const std::string limited = *limit == '\0' ? "" : " --max-increase " + std::string(limit);
        const outcome came = ovk_with("compare --format json " + usages(files, "a", before) + " " +
                                      usages(files, "b", after) + limited);
        json expected = {"bus", nullptr, nullptr, nullptr, "usage_percent"};
        for (const std::string &each : words_in(values)) {
            expected.push_back(json::parse(each));
        }
        const json row = json::parse(came.out)["figures"].at(0);
        for (std::size_t i = 0; i < members.size(); ++i) {
            EXPECT_EQ(row.at(members[i]), expected.at(i)) << values << ": " << members[i];
        }
        EXPECT_EQ(came.status, row["exceeded"] ? 1 : 0) << values;
    }
}

TEST(compare, takes_recordings_and_limits_only) {
    const scratch files;
    const std::string compare = "compare " + usages(files, "a", "1 -") + " ";
    const json result = json::parse(ovk_with(compare + files.path("a") + " --format json").out);
    EXPECT_EQ(result["a"]["reads"], 2);
    EXPECT_EQ(result["a"]["failed"], 1);
    EXPECT_EQ(ovk_with(compare + files.path("none")).status, 3);
    for (const char *wrong :
         {"--max-increase -5%", "--max-increase some", "--max-increase nan", "--format xml"}) {
        EXPECT_EQ(ovk_with(compare + files.path("a ") + wrong).status, 2) << wrong;
    }
    EXPECT_EQ(ovk_with("compare --format csv " + usages(files, "a", "50 52 49 50 50") + " " +
                       usages(files, "b", "53 54 55"))
                  .out,
              "report,module,block,port,figure,a_count,a_median,a_spread,b_count,b_median,b_spread,"
              "difference,difference_percent,beyond_spread,exceeded\n"
              "bus,,,,usage_percent,5,50.0,1.5,3,54.0,2.0,4.0,8.0,true,false\n");
}

// The simple view has no data bandwidths; and the 0 of a run that timed out is no measurement.
TEST(compare, counts_what_a_report_does_not_have_as_unknown) {
    const scratch files;
    const auto cpu = [](unsigned mbps, const lines &log) {
        return operation{.attribute = "bw_total", .came = {simple_row("CPU", mbps)}, .log = log};
    };
    const std::string file =
        recording_of(files, "r", {cpu(100, {}), cpu(0, timed_out_bus.log.value()), cpu(300, {})});
    const json result = json::parse(ovk_with("compare --format json " + file + " " + file).out);

    EXPECT_TRUE(has_row(result, {{"module", "CPU"},
                                 {"figure", "bus_mbps"},
                                 {"a_count", 2},
                                 {"a_median", 200},
                                 {"a_spread", 200},
                                 {"difference", 0}}));
    EXPECT_TRUE(has_row(result, {{"module", "CPU"},
                                 {"figure", "data_mbps"},
                                 {"a_count", 0},
                                 {"a_median", nullptr},
                                 {"difference", nullptr}}));
    EXPECT_EQ(result["a"]["incomplete"], 3);
}

// What docs/tuning.md says of the same traffic.
TEST(compare, tells_modules_and_ports_of_all_reports_apart) {
    const scratch files;
    for (const std::string scenario : {"playback", "overload"}) {
        ASSERT_EQ(ovk_with("-s sim:zt410," + scenario + " record --count 2 --reports " +
                           "total,larb,scomm,emi,bus -o " + files.path(scenario))
                      .status,
                  0);
    }
    const std::string compare = "compare " + files.path("playback") + " " + files.path("overload");
    const json result = json::parse(ovk_with(compare + " --format json").out);

    EXPECT_EQ(result["a"]["incomplete"], 0);
    const json rows[] = {
        {{"module", "SUM"}, {"figure", "bus_mbps"}, {"b_median", 19095}},
        {{"module", "FRC"}, {"figure", "bus_mbps"}, {"b_median", 3482}},
        {{"module", "GOP"}, {"block", "larb 7"}, {"port", 1}, {"a_count", 2}},
        {{"block", "SMI common 0 in"}, {"port", 0}, {"figure", "write_mbps"}},
        {{"block", "all EMI channels"}, {"port", 7}, {"figure", "latency_ns"}},
        {{"report", "bus"}, {"figure", "usage_percent"}},
    };
    for (const json &row : rows) {
        EXPECT_TRUE(has_row(result, row));
    }
    EXPECT_TRUE(has(ovk_with(compare).out, "figures:"));
}

}  // namespace ovk::tests
