// SPDX-License-Identifier: GPL-2.0-only
// All attributes at once, from many processes. Built with ThreadSanitizer: besides the reports it
// is the memory accesses of module and host kernel that are under test.
#include <array>
#include <atomic>
#include <random>
#include <thread>

#include "tests/rig.h"

namespace tests {

namespace {

constexpr int processes = 4;  // readers, and as many writers
constexpr int operations = 2500;

// How a complete report begins.
struct readable {
    const char *attribute;
    const char *start;
    bool may_be_empty = false;  // nothing selected, or nothing enabled
};

constexpr const char *start = "Starting Monitor......\033[K\n\033[K\n";
constexpr std::array reports = {readable{"debug_log_on", "debug_log_on: "},
                                readable{"reg_op", "\033[K\n0x1c00000", true},
                                readable{"fake_engine", "Fake engine 0: "},
                                readable{"bw_total", ""},
                                readable{"bw_larb", "", true},
                                readable{"bw_scomm", start},
                                readable{"bw_emi", start},
                                readable{"bw_bus", ""},
                                readable{"bw_emi_lmt", "echo [EMI] [PORT] [BW LMT] "},
                                readable{"bw_emi_timer", "echo [EMI] [PORT] [R/W] [TIMER] "},
                                readable{"bw_emi_ostd", "echo [EMI] [PORT] [R/W] [OSTD] "},
                                readable{"ip_config", "\033[4mModule : "},
                                readable{"larb_module_list", "2 : EVD "},
                                readable{"cpupri_slot", ""},
                                readable{"cpupri", "scope:0 - start addr:0x1000, end ", true},
                                readable{"emi_setting", "-->EMI-Port(0) bw_limit: 0x"},
                                readable{"larb_ostdl", "larb id: "},
                                readable{"fifo_status", start}};

struct write_request {
    const char *attribute;
    const char *text;
};

constexpr std::array writes = {write_request{"debug_log_on", "1\n"},
                               write_request{"debug_log_on", "0\n"},
                               write_request{"reg_op", "0x1c000000 5\n"},
                               write_request{"reg_op", "0x1c000004\n"},
                               write_request{"fake_engine", "0 0 1000 1 a5a5\n"},
                               write_request{"fake_eng_loop", "0 0\n"},
                               write_request{"bw_total", "1 1 2 0\n"},
                               write_request{"bw_total", "1 0 1 1\n"},
                               write_request{"bw_larb", "2 1\n"},
                               write_request{"bw_larb", "5 2\n"},
                               write_request{"bw_larb", "99 1\n"},
                               write_request{"bw_scomm", "1\n"},
                               write_request{"bw_emi", "1\n"},
                               write_request{"bw_emi", "2\n"},
                               write_request{"bw_emi_detail", "y\n"},
                               write_request{"bw_emi_detail", "n\n"},
                               write_request{"bw_emi_lmt", "0 1 0\n"},
                               write_request{"bw_emi_timer", "1 2 0 7\n"},
                               write_request{"bw_emi_ostd", "0 3 1 0\n"},
                               write_request{"simple_mon", "1\n"},
                               write_request{"simple_mon", "0\n"},
                               write_request{"larb_config", "0 1 2 0\n"},
                               write_request{"larb_config", "1 1 2 1\n"},
                               write_request{"cpupri", "1 0 0x1000 0x1000\n"},
                               write_request{"cpupri", "0 0\n"},
                               write_request{"mask", "0 1 0\n"},
                               write_request{"larb_ostdl", "1 2\n"},
                               write_request{"fifo_status", "1\n"},
                               write_request{"fifo_status", "0\n"},
                               write_request{"fifo_status_clear", "1\n"},
                               write_request{"bw_total", "junk\n"}};

// A report is cut at the page's end or ends with a line, and has the parts that it must have.
bool is_well_formed(const readable &report, const std::string &text) {
    const std::string attribute = report.attribute;

    if (text.empty() || text.size() == 4095) {
        return !text.empty() || report.may_be_empty;
    }
    if (text.back() != '\n' || !text.starts_with(report.start)) {
        return false;
    }
    if (attribute == "bw_total") {
        return text.find("Status: ") != std::string::npos ||
               text.find("Slack     : ") != std::string::npos;
    }
    if (attribute == "bw_larb") {
        return text.ends_with(" not support larb monitor\033[K\n") ||
               (text.starts_with(start) && text.ends_with("  |\033[0m\033[K\n\033[0m\033[K\n"));
    }
    return attribute != "bw_bus" || text.ends_with("%\n");
}

template <class F>
void in_parallel(F process) {
    std::vector<std::thread> threads;

    for (unsigned seed = 1; seed <= processes; seed++) {
        threads.emplace_back([seed, &process] {
            std::mt19937 random(seed);
            for (int i = 0; i < operations; i++) {
                process(random);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

}  // namespace

TEST(storm, every_report_is_well_formed_and_nothing_is_left_behind) {
    rig r("zt410");
    r.loaded();
    r.chip().set_scenario(sim::find_scenario("zt410", "playback"));
    std::atomic<int> failures = 0;

    std::thread readers([&] {
        in_parallel([&](std::mt19937 &random) {
            const readable &report = reports[random() % reports.size()];
            const auto result = r.machine().read(report.attribute);
            failures += result.code < 0 || !is_well_formed(report, result.text) ? 1 : 0;
        });
    });
    in_parallel([&](std::mt19937 &random) {
        const write_request &request = writes[random() % writes.size()];
        failures += r.machine().write(request.attribute, request.text) <= 0 ? 1 : 0;
    });
    readers.join();
    r.machine().take_log();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(r.peek("emi_dispatch0+0x100"), 0u);
    EXPECT_EQ(r.peek("emi_cen0+0x060"), 0u);
}

}  // namespace tests
