// SPDX-License-Identifier: GPL-2.0-only
// What ovk report prints, of a source and of its recording.
#include <sys/stat.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "ovk/base/open_file.h"
#include "ovk/report/render.h"
#include "ovk/report/take.h"
#include "ovk/source/recorder.h"
#include "ovk/tests/chip_source.h"
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
    EXPECT_EQ(ovk_with("-s sim:zt410 report bus --format json").out, R"({
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
    EXPECT_EQ(json_of(bus_report{.head = odd_report().head}).dump(),
              R"({"report":"bus","complete":false,"reason":"cut at 4095 bytes; another",)"
              R"("start_ns":5,"end_ns":7,"log_seen":false,"usage_percent":null,)"
              R"("unparsed":["a\u001b[31m line"]})");
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

    EXPECT_EQ(ovk_with("-s sim:zt430 report bus -o " + pipe).status, 0);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_EQ(run_program(static_cast<int>(words.size()), words.data(), full, err), 2);
    EXPECT_TRUE(has(err.str(), "ovk: standard output: "));
}

TEST(report_command, ends_with_the_status_that_says_what_is_wrong) {
    const scratch files;
    files.put("bw_total", "cut\n");
    const struct {
        int status;
        lines runs;
    } cases[] = {
        {0,
         {"total --module VDEC", "total --module 2 --time 9", "ports --module GOP",
          "total --strict", "scomm --time 5", "emi --time 5", "larb --time 5"}},
        {2,
         {"total --module NONE", "larb --module NONE", "fifo --module NONE", "ports --module NONE",
          "limits --module GOP", "fifo --time 5", "total --time 0", "total --format xml",
          "nothing"}},
        {5, {"larb --module 99"}},
    };
    for (const auto &[status, runs] : cases) {
        for (const std::string &run : runs) {
            EXPECT_EQ(ovk_with("-s sim:zt430 report " + run).status, status) << run;
        }
    }
    const std::string report = "-s sysfs:" + files.path() + " report ";
    EXPECT_EQ(ovk_with(report + "total").status, 0);
    EXPECT_EQ(ovk_with(report + "total --strict").status, 4);
    EXPECT_EQ(ovk_with(report + "emi").status, 3);
}

TEST(report_of_a_module, has_no_other) {
    const auto report = [](const std::string &arguments) {
        return json::parse(ovk_with("-s sim:zt430 report --format json " + arguments).out);
    };
    const json total = report("total --module 2");
    ASSERT_EQ(total["modules"].size(), 1u);
    EXPECT_EQ(total["modules"][0]["name"], "VDEC");
    ASSERT_EQ(total["bars"].size(), 1u);
    EXPECT_EQ(total["bars"][0]["name"], "VDEC");
    EXPECT_EQ(total["sum"]["name"], "SUM");
    EXPECT_EQ(report("larb --module VDEC")["module"], "VDEC");
}

TEST(recorded_report, has_the_same_bytes_and_the_same_json) {
    const scratch files;
    const std::string recording = "-s file:" + files.path("r") + " ";

    for (const std::string &soc : sim::chip_names()) {
        const std::string device = "-s sim:" + soc + ",overload ";
        for (const std::string report : {"total", "larb", "scomm", "emi", "bus", "fifo"}) {
            ASSERT_EQ(
                ovk_with(device + "record --count 1 --reports " + report + " -o " + files.path("r"))
                    .err,
                "");
            for (const std::string &command :
                 {"report " + report + " --format json", std::string("read ip_config"),
                  report == "fifo" ? "read fifo_status" : "read bw_" + report}) {
                const std::string live = ovk_with(device + command).out;
                EXPECT_EQ(ovk_with(recording + command).out, live) << command;
                EXPECT_NE(live, "") << command;
            }
        }
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
        chip_source chip("zt440", "overload");
        ::tests::enable_all(chip.rig(), 16);
        recording_writer writer(files.path("recording"), describe_source(chip));
        recorder both(chip, writer);
        const json live = json_of(report(both));
        EXPECT_EQ(json_of(report(*open_source("file:" + files.path("recording")))), live);
    }
}

}  // namespace ovk::tests
