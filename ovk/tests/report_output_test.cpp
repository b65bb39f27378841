// SPDX-License-Identifier: GPL-2.0-only
// What ovk report prints, of a source and of its recording.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "ovk/base/open_file.h"
#include "ovk/report/render.h"
#include "ovk/report/take.h"
#include "ovk/source/recorder.h"
#include "ovk/tests/model_source.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"
#include "tests/report_text.h"

namespace ovk::tests {

namespace {

// One module, of which something is not known, and a name that needs care in every format.
total_report odd_report() {
    total_report report = {
        .head = {.start_ns = 5, .end_ns = 7, .log_seen = false, .unparsed = {"a\x1b[31m line"}},
        .view = "full",
        .modules = {{.id = 0, .name = "A,\"\xff", .data_mbps = 12, .efficiency_percent = 80}},
        .usage = {.total_mbps = 100, .slack_mbps = -3}};
    report.head.incomplete("cut at 4095 bytes");
    report.head.incomplete("another");
    return report;
}

}  // namespace

TEST(report_output, is_json_to_the_byte) {
    EXPECT_EQ(ovk_with({"-s", "sim:zt410", "report", "bus", "--format", "json"}).out, R"({
  "report": "bus",
  "complete": true,
  "reason": null,
  "start_ns": 0,
  "end_ns": 32000000,
  "log_seen": true,
  "usage_percent": 58,
  "unparsed": []
}
)");
    EXPECT_EQ(json_of(odd_report()).dump(),
              "{\"report\":\"total\",\"complete\":false,\"reason\":\"cut at 4095 bytes; another\","
              "\"start_ns\":5,\"end_ns\":7,\"log_seen\":false,\"view\":\"full\","
              "\"simple_view\":{\"start_ns\":null,\"end_ns\":null},"
              "\"modules\":[{\"id\":0,\"name\":\"A,\\\"\xef\xbf\xbd\",\"domain\":null,"
              "\"data_mbps\":12,\"efficiency_percent\":80,\"bus_mbps\":null,"
              "\"ultra_percent\":null,\"preultra_percent\":null}],"
              "\"sum\":{\"id\":null,\"name\":null,\"domain\":null,\"data_mbps\":null,"
              "\"efficiency_percent\":null,\"bus_mbps\":null,\"ultra_percent\":null,"
              "\"preultra_percent\":null},\"bars\":[],"
              "\"dram\":{\"width_bits\":null,\"clock_mtps\":null},"
              "\"usage\":{\"total_mbps\":100,\"bus_mbps\":null,\"percent\":null,"
              "\"slack_mbps\":-3,\"slack_percent\":null},\"status\":null,"
              "\"unparsed\":[\"a\\u001b[31m line\"]}");
}

TEST(report_output, is_csv_with_the_same_columns_whatever_is_known) {
    const std::string text = csv_of(odd_report());
    EXPECT_EQ(text,
              "report,complete,reason,start_ns,end_ns,log_seen,view,simple_view_start_ns,"
              "simple_view_end_ns,sum_id,sum_name,sum_domain,sum_data_mbps,"
              "sum_efficiency_percent,sum_bus_mbps,sum_ultra_percent,sum_preultra_percent,"
              "dram_width_bits,dram_clock_mtps,usage_total_mbps,usage_bus_mbps,usage_percent,"
              "usage_slack_mbps,usage_slack_percent,status,id,name,domain,data_mbps,"
              "efficiency_percent,bus_mbps,ultra_percent,preultra_percent\n"
              "total,false,cut at 4095 bytes; another,5,7,false,full,,,,,,,,,,,,,100,,,-3,,,0,"
              "\"A,\"\"\xef\xbf\xbd\",,12,80,,,\n");
    EXPECT_EQ(csv_of(total_report()).substr(0, text.find('\n')), text.substr(0, text.find('\n')));
    EXPECT_EQ(csv_of(ports_report{.modules = {{.id = 1,
                                               .larbs = {{.larb = 3, .ports = {0, 2}}},
                                               .commons = {{.common = 4, .ports = {5}}}}}}),
              "report,complete,reason,start_ns,end_ns,log_seen,id,name,domain,emi_ports,larb,"
              "ports,common\n"
              "ports,true,,0,0,true,1,,,,3,0 2,\n"
              "ports,true,,0,0,true,1,,,,,5,4\n");
}

TEST(report_output, is_a_table_and_then_what_belongs_to_all_of_it) {
    EXPECT_EQ(text_of(json_of(odd_report())),
              "modules:\n"
              "  id  name  data_mbps  efficiency_percent\n"
              "   0  A,\"\xef\xbf\xbd         12                  80\n"
              "\n"
              "usage:\n"
              "  total_mbps  slack_mbps\n"
              "         100          -3\n"
              "\n"
              "  report  complete  reason                      start_ns  end_ns  log_seen  view\n"
              "  total      false  cut at 4095 bytes; another         5       7     false  full\n"
              "\n"
              "unparsed: a?[31m line\n");
    EXPECT_EQ(printable("\x1b[1m\xc2\x9b[2J \xc3\xa9\xff"), "?[1m?[2J \xc3\xa9\xef\xbf\xbd");
}

TEST(report_command, writes_into_what_is_no_file_and_says_when_nothing_could_be_written) {
    const scratch files;
    const std::string pipe = files.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const open_file reader(pipe, O_RDWR);
    const std::vector<const char *> words = {"ovk", "-s", "sim:zt430", "read", "bw_bus"};
    std::ostringstream full;
    std::ostringstream err;
    full.setstate(std::ios::badbit);

    EXPECT_EQ(ovk_with({"-s", "sim:zt430", "report", "bus", "-o", pipe}).status, 0);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_EQ(run_program(static_cast<int>(words.size()), words.data(), full, err), 2);
    EXPECT_TRUE(err.str().starts_with("ovk: standard output: ")) << err.str();
}

TEST(report_command, ends_with_the_status_that_says_what_is_wrong) {
    const scratch files;
    files.put("bw_total", "cut\n");
    const struct {
        std::vector<std::string> arguments;
        int status;
    } runs[] = {
        {{"total", "--module", "VDEC"}, 0},
        {{"total", "--module", "2", "--time", "9"}, 0},
        {{"total", "--module", "NONE"}, 2},
        {{"larb", "--module", "NONE"}, 2},
        {{"larb", "--module", "99"}, 5},
        {{"fifo", "--module", "NONE"}, 2},
        {{"ports", "--module", "GOP"}, 0},
        {{"ports", "--module", "NONE"}, 2},
        {{"limits", "--module", "GOP"}, 2},
        {{"fifo", "--time", "5"}, 2},
        {{"total", "--time", "0"}, 2},
        {{"total", "--format", "xml"}, 2},
        {{"nothing"}, 2},
        {{"total", "--strict"}, 0},
        {{"scomm", "--time", "5"}, 0},
        {{"emi", "--time", "5"}, 0},
        {{"larb", "--time", "5"}, 0},
    };
    for (const auto &each : runs) {
        std::vector<std::string> words = {"-s", "sim:zt430", "report"};
        words.insert(words.end(), each.arguments.begin(), each.arguments.end());
        EXPECT_EQ(ovk_with(words).status, each.status) << each.arguments.back();
    }
    const std::string here = "sysfs:" + files.path();
    EXPECT_EQ(ovk_with({"-s", here, "report", "total"}).status, 0);
    EXPECT_EQ(ovk_with({"-s", here, "report", "total", "--strict"}).status, 4);
    EXPECT_EQ(ovk_with({"-s", here, "report", "emi"}).status, 3);
}

TEST(report_of_a_module, has_no_other) {
    const json total = json::parse(
        ovk_with({"-s", "sim:zt430", "report", "total", "--module", "2", "--format", "json"}).out);
    ASSERT_EQ(total["modules"].size(), 1u);
    EXPECT_EQ(total["modules"][0]["name"], "VDEC");
    ASSERT_EQ(total["bars"].size(), 1u);
    EXPECT_EQ(total["bars"][0]["name"], "VDEC");
    EXPECT_EQ(total["sum"]["name"], "SUM");
    const json larb = json::parse(
        ovk_with({"-s", "sim:zt430", "report", "larb", "--module", "VDEC", "--format", "json"})
            .out);
    EXPECT_EQ(larb["module"], "VDEC");
}

class recorded_report : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(chips, recorded_report, testing::ValuesIn(sim::chip_names()),
                         [](const auto &chip) { return chip.param; });

TEST_P(recorded_report, is_the_same_json) {
    const scratch files;
    const std::string device = "sim:" + GetParam() + ",overload";
    const std::string recording = files.path("recording");

    for (const char *report : {"total", "larb", "scomm", "emi", "bus", "fifo"}) {
        EXPECT_EQ(
            ovk_with({"-s", device, "record", "-o", recording, "--count", "1", "--reports", report})
                .status,
            0);
        const std::string out = ovk_with({"-s", device, "report", report, "--format", "json"}).out;
        EXPECT_EQ(ovk_with({"-s", "file:" + recording, "report", report, "--format", "json"}).out,
                  out);
        EXPECT_NE(out, "") << report;
    }
}

// The recorder stands between the command and the device, and notes what is moved, too.
TEST(recorded_report, is_the_same_json_also_when_something_had_to_be_moved_for_it) {
    any_report (*const reports[])(source &) = {
        [](source &from) -> any_report { return parse_total(take_total(from)); },
        [](source &from) -> any_report { return take_limits(from); },
        [](source &from) -> any_report { return take_ports(from); },
        [](source &from) -> any_report { return larb_selector(from).take(2, 5); },
    };
    const scratch files;
    for (const auto report : reports) {
        model_source model("zt440");
        model.chip.chip().set_scenario(sim::find_scenario("zt440", "overload"));
        ::tests::enable_all(model.chip, 16);
        json before;
        {
            recording_writer writer(files.path("recording"), describe_source(model));
            recorder both(model, writer);
            before = json_of(report(both));
        }
        const auto replay = open_source("file:" + files.path("recording"));
        EXPECT_EQ(json_of(report(*replay)), before);
    }
}

}  // namespace ovk::tests
