// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/doctor/doctor.h"
#include "ovk/tests/chip_source.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"
#include "tests/report_text.h"

namespace ovk::tests {

namespace {

// Of these things it complains, and of no others. Returns the advice on the last.
std::string expect_complaints(chip_source &chip, const lines &expected) {
    std::vector<finding> found = examine(chip);
    std::erase_if(found, [](const finding &each) { return each.found == health::good; });
    EXPECT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size() && i < expected.size(); ++i) {
        EXPECT_EQ(found[i].found, health::wrong);
        EXPECT_TRUE(
            has(found[i].subject + ": " + found[i].what + "; " + found[i].next, expected[i]));
    }
    return found.empty() ? "" : found.back().next;
}

}  // namespace

TEST(doctor, finds_nothing_wrong_with_a_good_chip) {
    for (const std::string &soc : sim::chip_names()) {
        const outcome came = ovk_with("-s sim:" + soc + " doctor");
        EXPECT_EQ(came.status, 0) << came.out;
        EXPECT_EQ(std::count(came.out.begin(), came.out.end(), '\n'), 12);
        EXPECT_FALSE(has(came.out, "WRONG"));
        EXPECT_TRUE(has(came.out, "selections: as after loading"));
    }
}

// Each alone, so that it is known what says what; and what it tells to write makes it well again.
TEST(doctor, names_selections_that_were_left_behind_and_how_to_undo_them) {
    const std::pair<const char *, const char *> left_behind[] = {
        {"larb_ostdl 1 2", "larb_ostdl: larb 1 port 2 is selected"},
        {"bw_larb 7 2", "bw_larb: the module FRC is selected"},
        {"bw_emi_detail 1", "bw_emi_detail: bw_emi has the detail view"},
        {"simple_mon 1", "simple_mon: bw_total has the simple view"},
        {"debug_log_on 1", "debug_log_on: every measurement is traced"},
        {"reg_op 0x1c441138", "reg_op: a register is selected"},
    };
    for (const auto &[setting, complaint] : left_behind) {
        chip_source chip("zt410");
        chip.set(setting);
        const std::string advice = expect_complaints(chip, {complaint});
        const lines words = words_in(advice.substr(advice.find("ovk write")));
        chip.write(words.at(2), words.at(3));
        expect_complaints(chip, {});
    }
}

TEST(doctor, names_what_keeps_reports_from_being_known) {
    chip_source chip("zt410");
    chip.shows_log = false;
    expect_complaints(chip, {"kernel log: can't be read: time-outs and refusals go unnoticed; "
                             "read as root, or set kernel.dmesg_restrict to 0"});
    chip.shows_log = true;
    chip.on_write = [](std::size_t) { return EIO; };
    expect_complaints(
        chip, {"permissions: settings can't be written: Input/output error; write as root"});
    chip.on_write = [](std::size_t) { return 0; };
    chip.chip().hang("emi_cen0");
    expect_complaints(chip, {"bw_total: kernel log: [OVK_BW]EMI monitor time out; docs/attributes",
                             "bw_emi: kernel log: [OVK_BW]EMI monitor time out",
                             "bw_bus: read: Connection timed out; a monitor did not finish"});
}

TEST(doctor, tells_how_to_see_what_was_cut) {
    chip_source chip("zt440", "overload");
    ::tests::enable_all(chip.rig(), 2);
    expect_complaints(chip, {"bw_total: cut at 4095 bytes; write 1 to simple_mon"});
}

// Of a recording without most of them, and of a folder with files that are no reports.
TEST(doctor, tells_what_is_not_there_or_says_something_else) {
    const scratch files;
    files.put("bw_total", "something\n");
    files.put("bw_bus", "");
    ASSERT_EQ(
        ovk_with("-s sim:zt410 record --count 1 --reports total,bus -o " + files.path("r")).status,
        0);
    const outcome recorded = ovk_with("-s file:" + files.path("r") + " doctor");
    const outcome folder = ovk_with("-s sysfs:" + files.path() + " doctor");

    EXPECT_EQ(recorded.status, 0);
    for (const char *each : {"ok     bw_total: complete", "?      bw_emi: is not in the recording",
                             "?      permissions: is not", "those that can be read"}) {
        EXPECT_TRUE(has(recorded.out, each));
    }
    EXPECT_EQ(folder.status, 1);
    for (const char *each :
         {"module: attributes are missing: bw_emi bw_emi_detail", "bw_bus: empty",
          "WRONG  bw_total: unparsed lines: 1", "bw_emi: read: No such file or directory"}) {
        EXPECT_TRUE(has(folder.out, each));
    }
}

}  // namespace ovk::tests
