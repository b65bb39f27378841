// SPDX-License-Identifier: GPL-2.0-only
// What the attributes take and refuse.
#include "tests/port_chip.h"
#include "tests/report_text.h"

namespace tests {

namespace {

const std::string wrong = "<3>[OVK_BW]Wrong Argument!!";
const std::string wrong_info = "<6>[OVK_BW]Wrong Argument!!";
const std::string wrong_limit = "<6>Wrong Argument!!";

struct refusal {
    const char *attribute;
    std::string message;  // the last one; "": none
    lines texts;
    bool denied = false;  // with an error, EPERM
};

const refusal refusals[] = {
    {"debug_log_on", wrong, {"abc", "4294967296"}},
    {"fake_engine", wrong, {"1 0 1000 1"}},
    {"fake_engine", "<3>[OVK_BW]Wrong size > 4GB", {"1 0 100000001 1 0"}},
    {"fake_engine", "<3>[OVK_BW]Wrong type, 0:Read 1:Write 2:R/W", {"1 0 1000 3 0"}},
    {"fake_eng_loop", wrong, {"9 1", "1"}},
    {"bw_total",
     wrong,
     {"1 1 16", "-1 1 16 0", "1 -1 16 0", "1 1 16 -0", "14 1 16 0", "4294967295 1 16 0",
      "0x0 0 20 1", std::string(4095, 'x')}},
    {"bw_scomm", wrong, {"abc", "4294967296", "-1", "5 6"}},
    {"bw_emi", wrong_info, {"abc", "4294967296", "-1", "1 2"}},
    {"bw_emi", "<6>[OVK_BW]time can not be 0", {"0"}},
    {"bw_emi_detail", wrong_info, {"2", " 0"}},
    {"bw_emi_lmt", wrong_limit, {"3 0 1", "0 8 1"}},
    {"bw_emi_lmt", "", {"0 1"}},
    {"bw_emi_timer", wrong_limit, {"-1 0 0 1"}},
    {"bw_emi_timer", "", {"0 1 0"}},
    {"bw_emi_ostd", wrong_limit, {"0 -1 0 1"}},
    {"simple_mon", wrong, {"abc", "4294967296", "-1", "08"}},
    {"larb_config",
     wrong,
     {"0 3 2", "0 3 2 40", "1 3 2 2", "3 3 2 1", "0 53 2 1", "0 -1 2 1", "0 3 32 1"}},
    {"cpupri",
     "",
     {"0", "1 3 0x80000000 0x1000", "1 -1 0x80000000 0x1000", "3 0 0x80000000 0x1000",
      "1 0 0x80000000 0x1800", "1 0 0x80000800 0x1000", "1 0 80000000 1000"},
     true},
    {"mask", wrong, {"1 3"}},
    {"mask", "<3>[OVK_BW]Mask error!!", {"0 32 1", "0 -1 1", "9 0 1"}},
    {"fifo_status", wrong_info, {"maybe"}},
    {"fifo_status_clear", wrong_info, {"2"}},
};

// All that can be seen of settings: texts and waits.
std::string shown(rig &r) {
    std::string all = r.read("debug_log_on");

    for (const char *attribute : {"bw_total", "bw_scomm", "bw_emi"}) {
        all += std::to_string(wait_of(r, attribute)) + "\n" + r.read(attribute);
    }
    return all;
}

}  // namespace

TEST(input, that_is_refused_is_told_of_and_changes_nothing) {
    rig r("zt410");
    r.loaded().run({at_larb(0, 3, {.read = 640})});
    r.write("bw_total", "3 0 7 0\n");
    for (const char *attribute : {"simple_mon", "bw_scomm", "bw_emi", "bw_emi_detail"}) {
        r.write(attribute, "1\n");
    }
    const std::string before = shown(r);
    r.log();

    for (const auto &[attribute, message, texts, denied] : refusals) {
        r.machine().set_tracing(true);
        for (const std::string &text : texts) {
            SCOPED_TRACE(std::string(attribute) + " " + text);
            const long size = static_cast<long>(text.size());
            EXPECT_EQ(r.machine().write(attribute, text), denied ? -1 : size);
            const lines log = r.log();
            EXPECT_EQ(log.empty() ? "" : log.back(), message);
            EXPECT_EQ(r.trace(), lines{});
        }
        r.machine().set_tracing(false);
        EXPECT_EQ(shown(r), before) << attribute;
    }
}

// Nothing moves, so that only the windows take time: six in all of bw_total, one of them GOP's;
// three in bw_larb; two for each of nine ports in bw_scomm; one for each of two groups at the EMI,
// where 2^31 ms at 800 MHz are no cycles in 32 bits.
TEST(input, in_numbers_is_confirmed_and_sets_the_windows_of_later_reads) {
    rig r(port_chip());
    r.loaded();

    for (const auto &[attribute, text, log, wait_ms] :
         {std::tuple{"bw_total", "0 0 20 0\n", "set m_id: 0, enable: 0, time: 20 ms, proc: 0",
                     std::uint64_t{5 * 20}},
          {"bw_total", " 0  7 4294967297 0x1", "set m_id: 0, enable: 1, time: 1 ms, proc: 0", 6},
          {"bw_larb", "0 32\n", "Set Module ID = 0, Time= 32", 3 * 32},
          {"bw_larb", "3 -1\n", "Set Module ID = 3, Time= -1", 0},
          {"bw_scomm", "0x20\n", "Set Monitor Time= 32", 18 * 32},
          {"bw_scomm", "0\n", "Set Monitor Time= 0", 0},
          {"bw_scomm", "2147483648\n", "Set Monitor Time= -2147483648", 18 * 2147483648},
          {"bw_emi", "2147483648\n", "Set Monitor Time= -2147483648", 0},
          {"bw_emi", "0x20\n", "Set Monitor Time= 32", 2 * 32}}) {
        r.write(attribute, text);
        EXPECT_EQ(r.log(), lines{std::string("<6>[OVK_BW]") + log});
        EXPECT_EQ(wait_of(r, attribute), wait_ms * 1000) << attribute << " " << text;
    }
    EXPECT_EQ(wait_of(r, "bw_bus"), 2 * 32'000u);
}

TEST(input, of_the_larb_report_is_kept_number_by_number_and_judged_afterwards) {
    const lines judged = {wrong};
    rig r(port_chip());
    r.loaded();
    EXPECT_EQ(row_with(r.read("bw_larb"), ""), "Module : GOP");
    r.write("bw_larb", "1 32\n");
    for (const auto &[id, name] : {std::pair{"1", "TSP"}, {"2", "REF_EMI"}, {"3", "SUM"}}) {
        r.write("bw_larb", id);
        EXPECT_EQ(r.read("bw_larb"), std::string(name) + " not support larb monitor\033[K\n");
        r.log();
    }

    // One number: the module changes, the time stays.
    r.write("bw_larb", " 0\n");
    EXPECT_EQ(r.log(), judged);
    EXPECT_EQ(wait_of(r, "bw_larb"), 3 * 32'000u);
    for (const char *text : {"4 20\n", "-1 20\n", "x 3\n"}) {
        r.write("bw_larb", text);
        EXPECT_EQ(r.log(), judged) << text;
        EXPECT_EQ(r.read("bw_larb"), "") << text;
        EXPECT_EQ(r.log(), judged) << text;
    }
    r.write("bw_larb", "0");
    EXPECT_EQ(wait_of(r, "bw_larb"), 3 * 20'000u);
}

// The simple view ends with the usage, the detail view has a block for each channel.
TEST(input, chooses_views_by_a_number_and_by_a_boolean) {
    const std::string chosen = "<6>[OVK_BW]Monitor emi bw info in ";
    rig r(port_chip());
    r.loaded();

    for (const bool other : {true, false}) {
        r.write("simple_mon", other ? "0x10\n" : "00");
        r.write("bw_emi_detail", other ? "y\n" : "off\n");
        EXPECT_EQ(r.log(), lines{chosen + (other ? "detail" : "total")});
        EXPECT_EQ(r.read("bw_total").find("Useage") != std::string::npos, other);
        EXPECT_EQ(r.read("bw_emi").find("EMI 0") != std::string::npos, other);
    }
}

}  // namespace tests
