// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include "ovk/source/refusal.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"

namespace ovk::tests {

namespace {

struct attempt {
    const char *attribute;
    const char *text;
    int status;
};

// What docs/attributes.md says is refused, and neighbours of it that are not.
const attempt attempts[] = {
    {"debug_log_on", "1", 0},
    {"debug_log_on", "x", 5},
    {"reg_op", "0x1c000000 5", 0},
    {"reg_op", "0x1bfffffc", 5},
    {"reg_op", "0x1c000000 32 1", 5},
    {"fake_engine", "0 0 1000 1 a5a5", 0},
    {"fake_engine", "0 0 1000 3 a5a5", 5},
    {"fake_eng_loop", "0 0", 0},
    {"fake_eng_loop", "77 1", 5},
    {"bw_total", "1 1 2 0", 0},
    {"bw_total", "99 1 2 0", 5},
    {"bw_larb", "2 1", 0},
    {"bw_larb", "99 1", 5},
    {"bw_scomm", "1", 0},
    {"bw_scomm", "-1", 5},
    {"bw_emi", "2", 0},
    {"bw_emi", "0", 5},
    {"bw_emi_detail", "y", 0},
    {"bw_emi_detail", "maybe", 5},
    {"bw_emi_lmt", "0 2 5f", 0},
    {"bw_emi_lmt", "7 2 1f", 5},
    {"bw_emi_lmt", "0 99 1f", 5},
    {"bw_emi_timer", "0 2 0 7", 0},
    {"bw_emi_timer", "0 2 0", 5},
    {"bw_emi_ostd", "0 3 1 0", 0},
    {"bw_emi_ostd", "0 99 1 0", 5},
    {"simple_mon", "1", 0},
    {"simple_mon", "yes", 5},
    {"larb_config", "0 1 2 3f", 0},
    {"larb_config", "0 1 2 40", 5},
    {"cpupri", "1 0 0x1000 0x1000", 0},
    {"cpupri", "1 0 0x1000 0", 5},
    {"mask", "0 1 1", 0},
    {"mask", "0 77 1", 5},
    {"larb_ostdl", "1 2", 0},
    {"larb_ostdl", "1", 5},
    {"fifo_status", "1", 0},
    {"fifo_status", "2", 5},
    {"fifo_status_clear", "1", 0},
    {"ip_config", "1", 3},
    {"nothing", "1", 3},
};

}  // namespace

TEST(write, ends_with_status_5_for_what_the_module_does_not_take) {
    for (const attempt &each : attempts) {
        const outcome came =
            ovk_with({"-s", "sim:zt410", "write", each.attribute, "--", each.text});
        EXPECT_EQ(came.status, each.status)
            << each.attribute << " '" << each.text << "': " << came.err;
        EXPECT_EQ(came.out, "");
        EXPECT_EQ(came.err.empty(), each.status == 0) << came.err;
    }
}

// A folder of files has no module behind it that could complain.
TEST(write, judges_by_reading_back_where_the_log_tells_nothing) {
    const scratch files;
    files.put("debug_log_on", "debug_log_on: 0\n");
    const auto source = open_source("sysfs:" + files.path());

    EXPECT_EQ(judge_write(*source, "debug_log_on", "0").found, verdict::taken);
    const judgement judged = judge_write(*source, "debug_log_on", "1");
    EXPECT_EQ(judged.found, verdict::refused);
    EXPECT_EQ(judged.why, "debug_log_on does not show it");
}

TEST(refusal, is_a_message_of_the_module_and_no_other) {
    EXPECT_EQ(complaint_in({"usb 1-1: Wrong number of endpoints", "error"}), "");
    EXPECT_EQ(complaint_in({"[OVK_BW]set m_id: 0, enable: 1, time: 30 ms, proc: 0"}), "");
    EXPECT_EQ(complaint_in({"fine", "Wrong Argument!!", "[OVK_BW]Wrong REG"}), "Wrong Argument!!");
}

}  // namespace ovk::tests
