// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/refusal.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"

namespace ovk::tests {

// What docs/attributes.md says is refused, and neighbours of it that are not.
TEST(write, ends_with_status_5_for_what_the_module_does_not_take) {
    const struct {
        const char *attribute;
        lines taken;
        lines refused;
    } attributes[] = {
        {"debug_log_on", {"1", "0x10\n"}, {"x"}},
        {"reg_op", {"0x1c000000 5"}, {"0x1bfffffc", "0x1c000000 32 1", "0x1c000000 1 2"}},
        {"fake_engine", {"0 0 1000 1 a5a5"}, {"0 0 1000 3 a5a5", "0 0 1000"}},
        {"fake_eng_loop", {"0 0"}, {"77 1"}},
        {"bw_total", {"1 1 2 0"}, {"99 1 2 0"}},
        {"bw_larb", {"2 1"}, {"99 1"}},
        {"bw_scomm", {"1"}, {"-1"}},
        {"bw_emi", {"2"}, {"0", "x"}},
        {"bw_emi_detail", {"y"}, {"maybe"}},
        {"bw_emi_lmt", {"0 2 5f", "1 2 1f"}, {"7 2 1f", "0 99 1f", "0 2"}},
        {"bw_emi_timer", {"0 2 0 7"}, {"0 2 0"}},
        {"bw_emi_ostd", {"0 3 1 0"}, {"0 99 1 0"}},
        {"simple_mon", {"1", ""}, {"yes"}},
        {"larb_config", {"0 1 2 3f"}, {"0 1 2 40", "0 52 2 1"}},
        {"cpupri", {"1 0 0x1000 0x1000"}, {"1 0 0x1000 0"}},
        {"mask", {"0 1 1"}, {"0 77 1"}},
        {"larb_ostdl", {"1 2"}, {"1"}},
        {"fifo_status", {"1"}, {"2"}},
        {"fifo_status_clear", {"1", ""}, {}},
    };
    const auto write = [](const std::string &attribute, const std::string &text) {
        return ovk_with({"-s", "sim:zt410", "write", attribute, "--", text});
    };
    for (const auto &[attribute, taken, refused] : attributes) {
        for (const std::string &text : taken) {
            EXPECT_TRUE(ends(write(attribute, text), 0, "")) << attribute << " " << text;
            EXPECT_EQ(write(attribute, text).err, "");
        }
        for (const std::string &text : refused) {
            EXPECT_TRUE(ends(write(attribute, text), 5, attribute)) << text;
        }
    }
    EXPECT_EQ(write("bw_total", "1 1 2 0").out, "");
    EXPECT_TRUE(ends(write("ip_config", "1"), 3, "ip_config"));
    EXPECT_TRUE(ends(write("nothing", "1"), 3, "nothing"));
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
