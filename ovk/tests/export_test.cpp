// SPDX-License-Identifier: GPL-2.0-only
// What other programs are given: metrics, trace events, and the page.
#include <nlohmann/json.hpp>

#include "ovk/plot/page.h"
#include "ovk/report/trace_events.h"
#include "ovk/tests/hand_made.h"
#include "ovk/tests/program.h"

namespace ovk::tests {

namespace {

constexpr const char *hostile = "</script>x";

std::vector<operation> three_sweeps() {
    return {
        simple_view(0, simple_row("CPU", 100), 50),
        {.is_mark = true,
         .written = "a | b <i>",
         .came = {"", 0, 101'000'000'000, 101'000'000'000}},
        {.is_write = true, .attribute = "simple_mon", .written = "1", .came = {}},
        {.is_write = true,
         .attribute = "bw_emi_lmt",
         .written = "0 1 2",
         .came = {"", 0, 101'500'000'000, 101'500'000'001}},
        simple_view(2, simple_row("CPU", 110) + simple_row(hostile, 7), 51),
        {.attribute = "bw_total", .came = {"", 5, 0, 0}},
        simple_view(3, simple_row(hostile, 8), 52),
    };
}

// A full view that lost all behind its first module.
operation cut_view(std::size_t second) {
    operation view = simple_view(second, "", 0);
    view.came.text =
        "  ID    MODULE      DOMAIN     DATA_BW     EFFI(%)      BUS_BW    ULTRA(%) PREULTRA(%)\n"
        "   0       CPU         CPU         100          50         200           0           0\n";
    return view;
}

}  // namespace

TEST(openmetrics, has_base_units_and_leaves_out_what_is_not_known) {
    const scratch files;
    const std::string view =
        "file:" +
        recording_of(files, "r",
                     {simple_view(0, simple_row("a\"b\\c", 12) + simple_row("D", 0), 83)});
    const outcome came =
        ovk_with("-s " + view + " report total --format openmetrics -o " + files.path("ovk.prom"));
    const std::string metric = "ovk_total_modules_bus_bytes_per_second";
    const std::string text = files.content("ovk.prom");

    EXPECT_EQ(came.out, "");
    EXPECT_EQ(text.substr(0, text.find("# TYPE ovk_total_usage")),
              "# TYPE " + metric + " gauge\n# UNIT " + metric + " bytes_per_second\n# HELP " +
                  metric + " Bandwidth of the memory bus that the data occupy\n" + metric +
                  "{module=\"a\\\"b\\\\c\"} 12000000\n" + metric + "{module=\"D\"} 0\n");
    EXPECT_TRUE(has(text, "\novk_total_usage_ratio 0.83\n"));
    EXPECT_TRUE(has(text, "\novk_total_usage_slack_ratio 0.5\n"));
    EXPECT_TRUE(text.ends_with("\novk_total_complete 1\n# EOF\n")) << text;
    EXPECT_FALSE(has(text, "efficiency"));
    EXPECT_EQ(ovk_with("-s " + view + " report total -o /none/file").status, 2);
}

TEST(openmetrics, tells_the_ports_of_all_blocks_apart) {
    const std::string text = ovk_with("-s sim:zt410 report limits --format openmetrics").out;

    EXPECT_TRUE(has(text, "\novk_limits_emi_read_timer{channel=\"0\",port=\"7\"} 0\n"));
    EXPECT_TRUE(has(text, "\novk_limits_larbs_outstanding_limit{larb=\"7\",port=\"1\"} "));
    EXPECT_FALSE(has(text, "#2"));
}

TEST(replay, takes_no_later_sweep_for_a_simple_view_that_was_refused) {
    const scratch files;
    const operation refused = {.is_write = true,
                               .attribute = "simple_mon",
                               .written = "1",
                               .came = {"", EACCES, 101'000'000'000, 101'000'000'000}};
    const std::string file =
        recording_of(files, "r", {cut_view(0), refused, cut_view(2), refused, cut_view(4)});

    EXPECT_EQ(columns_of(file, {})["reports"]["total"]["end_ns"],
              json({100'500'000'000, 102'500'000'000, 104'500'000'000}));
}

TEST(trace, has_a_slice_a_sweep_an_event_a_figure_and_instants_in_us_since_boot) {
    const scratch files;
    const std::string file = recording_of(files, "r", three_sweeps());
    std::map<std::string, std::vector<json>> events;
    const json trace = json::parse(ovk_with("export --format trace " + file).out);
    for (const json &each : trace["traceEvents"]) {
        events[each["ph"]].push_back(each);
    }

    EXPECT_EQ(events["X"].size(), 3u);
    EXPECT_EQ(events["X"][1]["ts"], 102e6);
    EXPECT_EQ(events["X"][1]["dur"], 5e5);
    // Five of the usage in each, and what the modules take.
    EXPECT_EQ(events["C"].size(), 3 * 5 + 4u);
    EXPECT_EQ(events["C"][0]["name"], "total.modules.CPU.bus_mbps");
    EXPECT_EQ(events["C"][0]["ts"], 100.5e6);
    EXPECT_EQ(events["C"][0]["args"]["value"], 100);
    ASSERT_EQ(events["i"].size(), 2u);
    EXPECT_EQ(events["i"][0]["name"], "mark: a | b <i>");
    EXPECT_EQ(events["i"][1]["name"], "write: bw_emi_lmt 0 1 2");
    EXPECT_EQ(events["i"][1]["ts"], 101.5e6);
}

TEST(trace, has_a_line_for_the_kernels_marker_for_each_figure) {
    total_report report;
    report.modules = {{.name = "A|B", .bus_mbps = 12}, {.name = "C"}};
    report.usage.percent = 7;
    EXPECT_EQ(marker_lines(report, 42),
              (lines{"C|42|ovk.total.modules.A_B.bus_mbps|12", "C|42|ovk.total.usage.percent|7"}));
    EXPECT_EQ(ovk_with("-s sim:zt430 record --count 1 --marker -o /dev/null").status, 3);
}

TEST(plot, holds_each_figure_by_sweep_with_gaps_and_names_that_end_nothing) {
    const scratch files;
    const std::string file = recording_of(files, "r.jsonl", three_sweeps());
    const json columns = columns_of(file, 85);
    const json &total = columns["reports"]["total"];

    EXPECT_EQ(total["end_ns"], json({100'500'000'000, 102'500'000'000, 103'500'000'000}));
    EXPECT_EQ(total["figures"]["modules.CPU.bus_mbps"], json({100, 110, nullptr}));
    EXPECT_EQ(total["figures"]["modules.</script>x.bus_mbps"], json({nullptr, 7, 8}));
    EXPECT_EQ(total["figures"]["usage.percent"], json({50, 51, 52}));
    EXPECT_EQ(total["figures"]["modules.CPU.efficiency_percent"],
              json({nullptr, nullptr, nullptr}));
    EXPECT_EQ(columns["events"][0]["text"], "a | b <i>");
    EXPECT_EQ(columns["events"].size(), 2u);
    EXPECT_EQ(columns["penalty_percent"], 85);

    ASSERT_EQ(ovk_with("plot " + file + " " + file + " --penalty 85 -o " + files.path("p")).status,
              0);
    const std::string page = files.content("p");
    const std::string mark = "<script type=\"application/json\" id=\"recordings\">";
    const std::size_t start = page.find(mark) + mark.size();
    const std::string data = page.substr(start, page.find("</script>", start) - start);
    EXPECT_EQ(json::parse(data)["recordings"], json({columns, columns}));
    // Of the page's own elements; a library that is put in has none.
    for (const char *foreign : {"src=", "href=\"http", "@DATA@"}) {
        EXPECT_FALSE(has(page, foreign));
    }
    EXPECT_EQ(ovk_with("plot /none -o " + files.path("q")).status, 3);
    EXPECT_FALSE(std::filesystem::exists(files.path("q")));
}

}  // namespace ovk::tests
