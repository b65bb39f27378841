// SPDX-License-Identifier: GPL-2.0-only
// What the reports' attributes take and refuse.
#include "tests/port_chip.h"
#include "tests/report_text.h"

namespace tests {

namespace {

constexpr const char *wrong = "[OVK_BW]Wrong Argument!!";

// All that can be seen of settings: texts and waits.
std::string shown(rig &r) {
    std::string all;

    for (const char *attribute : {"bw_total", "bw_scomm", "bw_emi"}) {
        all += std::to_string(wait_of(r, attribute)) + "\n" + r.read(attribute);
    }
    return all;
}

}  // namespace

TEST(report_input, refused_texts_are_logged_and_change_nothing) {
    const std::pair<std::string, lines> refused[] = {
        {"bw_total",
         {"\n", "1\n", "1 1\n", "1 1 16\n", "-1 1 16 0\n", "1 -1 16 0\n", "1 1 16 -0\n",
          "+1 1 16 0\n", "a 1 16 0\n", "1,1,16,0\n", "4 1 16 0\n", "4294967295 1 16 0\n",
          "0x0 0 20 1\n", std::string(4095, 'x')}},
        {"simple_mon", {"abc\n", "4294967296\n", "-1\n", " 0\n", "0 \n", "0\n\n", "08\n", "\n"}},
        {"bw_scomm", {"abc\n", "-1\n", "4294967296\n", " 5\n", "5 6\n", "5\n\n", "\n"}},
        {"bw_emi", {"abc\n", "-1\n", "4294967296\n", "1 2\n", "\n"}},
        {"bw_emi_detail", {"2\n", "x\n", " 0\n", "o\n", "\n"}}};
    rig r(port_chip());
    r.loaded();
    r.run({at_larb(0, 3, {.read = 640})});
    r.write("bw_total", "3 0 7 0\n");
    for (const char *attribute : {"simple_mon", "bw_scomm", "bw_emi", "bw_emi_detail"}) {
        r.write(attribute, "1\n");
    }
    const std::string before = shown(r);
    r.log();

    for (const auto &[attribute, texts] : refused) {
        const std::string level = attribute.starts_with("bw_emi") ? "<6>" : "<3>";
        for (const std::string &text : texts) {
            r.write(attribute, text);
            EXPECT_EQ(r.log(), lines{level + wrong}) << attribute << " " << text;
        }
        EXPECT_EQ(shown(r), before) << attribute;
    }
    r.write("bw_emi", "0\n");
    EXPECT_EQ(r.log(), lines{"<6>[OVK_BW]time can not be 0"});
    EXPECT_EQ(shown(r), before);
}

// Nothing moves, so that only the windows take time: six in all of bw_total, one of them GOP's;
// three in bw_larb; two for each of nine ports in bw_scomm; one for each of two groups at the EMI,
// where 2^31 ms at 800 MHz are no cycles in 32 bits.
TEST(report_input, numbers_that_are_taken_are_confirmed_and_set_the_windows_of_later_reads) {
    struct taken {
        const char *attribute;
        const char *text;
        const char *log;
        const char *report;
        std::uint64_t wait_ms;
    };
    const taken all[] = {
        {"bw_total", "0 0 20 0\n", "set m_id: 0, enable: 0, time: 20 ms, proc: 0", "bw_total",
         5 * 20},
        {"bw_total", " 0  7 4294967297 0x1", "set m_id: 0, enable: 1, time: 1 ms, proc: 0",
         "bw_total", 6},
        {"bw_larb", "0 32\n", "Set Module ID = 0, Time= 32", "bw_larb", 3 * 32},
        {"bw_larb", "1 20\n", "Set Module ID = 1, Time= 20", "bw_larb", 0},
        {"bw_larb", "3 -1\n", "Set Module ID = 3, Time= -1", "bw_larb", 0},
        {"bw_scomm", "0x20\n", "Set Monitor Time= 32", "bw_scomm", 18 * 32},
        {"bw_scomm", "010\n", "Set Monitor Time= 8", "bw_scomm", 18 * 8},
        {"bw_scomm", "0\n", "Set Monitor Time= 0", "bw_scomm", 0},
        {"bw_scomm", "+5", "Set Monitor Time= 5", "bw_scomm", 18 * 5},
        {"bw_scomm", "2147483648\n", "Set Monitor Time= -2147483648", "bw_scomm", 18 * 2147483648},
        {"bw_emi", "0x20\n", "Set Monitor Time= 32", "bw_emi", 2 * 32},
        {"bw_emi", "010", "Set Monitor Time= 8", "bw_bus", 2 * 8},
        {"bw_emi", "2147483648\n", "Set Monitor Time= -2147483648", "bw_emi", 0}};
    rig r(port_chip());
    r.loaded();

    for (const taken &each : all) {
        r.write(each.attribute, each.text);
        EXPECT_EQ(r.log(), lines{std::string("<6>[OVK_BW]") + each.log});
        EXPECT_EQ(wait_of(r, each.report), each.wait_ms * 1000) << each.attribute << each.text;
    }
}

TEST(report_input, of_the_larb_report_is_kept_number_by_number_and_judged_afterwards) {
    const lines judged = {std::string("<3>") + wrong};
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
    for (const char *text : {"4 20\n", "99 20\n", "-1 20\n", "4294967295 20\n", "x 3\n", "\n"}) {
        r.write("bw_larb", text);
        EXPECT_EQ(r.log(), judged) << text;
        EXPECT_EQ(r.read("bw_larb"), "") << text;
        EXPECT_EQ(r.log(), judged) << text;
    }
    r.write("bw_larb", "0");
    EXPECT_EQ(wait_of(r, "bw_larb"), 3 * 20'000u);
}

// The simple view ends with the usage, the detail view has a block for each channel.
TEST(report_input, views_are_chosen_by_a_number_and_by_a_boolean) {
    struct choice {
        const char *attribute;
        const char *text;
        const char *log;
        const char *report;
        const char *mark;
        bool marked;
    };
    const char *detail = "<6>[OVK_BW]Monitor emi bw info in detail";
    const char *total = "<6>[OVK_BW]Monitor emi bw info in total";
    rig r(port_chip());
    r.loaded();

    for (const choice &each : {choice{"simple_mon", "0x10\n", "", "bw_total", "Useage", true},
                               {"simple_mon", "00", "", "bw_total", "Useage", false},
                               {"bw_emi_detail", "y\n", detail, "bw_emi", "EMI 0", true},
                               {"bw_emi_detail", "off\n", total, "bw_emi", "EMI 0", false},
                               {"bw_emi_detail", "1", detail, "bw_emi", "EMI 0", true}}) {
        SCOPED_TRACE(std::string(each.attribute) + " " + each.text);
        r.write(each.attribute, each.text);
        EXPECT_EQ(r.log(), *each.log == '\0' ? lines{} : lines{each.log});
        EXPECT_EQ(r.read(each.report).find(each.mark) != std::string::npos, each.marked);
    }
}

}  // namespace tests
