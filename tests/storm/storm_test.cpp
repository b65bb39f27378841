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

constexpr std::array readable = {
    "debug_log_on", "reg_op",      "fake_engine", "bw_total",         "bw_larb",     "bw_scomm",
    "bw_emi",       "bw_bus",      "bw_emi_lmt",  "bw_emi_timer",     "bw_emi_ostd", "ip_config",
    "cpupri_slot",  "emi_setting", "cpupri",      "larb_module_list", "larb_ostdl",  "fifo_status"};

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

// A report is cut at the page's end or ends with a line; the measuring ones begin as they must.
bool is_well_formed(const std::string &attribute, const std::string &text) {
    if (text.empty() || text.size() == 4095) {
        return true;
    }
    if (text.back() != '\n') {
        return false;
    }
    if (attribute == "bw_scomm" || attribute == "bw_emi" || attribute == "fifo_status") {
        return text.starts_with("Starting Monitor......\033[K\n\033[K\n");
    }
    if (attribute == "bw_total") {
        return text.find("Status: ") != std::string::npos ||
               text.find("Slack     : ") != std::string::npos;
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
            const std::string attribute = readable[random() % readable.size()];
            const auto result = r.machine().read(attribute);
            failures += result.code < 0 || !is_well_formed(attribute, result.text) ? 1 : 0;
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
