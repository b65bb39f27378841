// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include <algorithm>

#include "ovk/doctor/doctor.h"
#include "ovk/tests/chip_source.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"

namespace ovk::tests {

namespace {

std::vector<finding> wrong_ones(source &where) {
    std::vector<finding> found = examine(where);
    std::erase_if(found, [](const finding &each) { return each.found == health::good; });
    return found;
}

bool has(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

// Every module takes part, and has traffic.
void fill_total(chip_source &chip) {
    chip.run("overload");
    for (int id = 0; id < 64; ++id) {
        chip.write("bw_total", std::to_string(id) + " 1 2 0");
    }
}

struct ailment {
    const char *soc;
    void (*cause)(chip_source &);
    const char *subject;
    const char *what;
    const char *next;
};

const ailment ailments[] = {
    {"zt410", [](chip_source &chip) { chip.shows_log = false; }, "kernel log", "can't be read",
     "dmesg_restrict"},
    {"zt410", [](chip_source &chip) { chip.fails = [](std::size_t) { return true; }; },
     "permissions", "settings can't be written: Input/output error", "root"},
    {"zt410", [](chip_source &chip) { chip.write("larb_ostdl", "1 2"); }, "larb_ostdl",
     "larb 1 port 2", "ovk write larb_ostdl '0 0'"},
    {"zt410", [](chip_source &chip) { chip.write("bw_larb", "7 2"); }, "bw_larb", "FRC is selected",
     "ovk write bw_larb '8'"},
    {"zt410", [](chip_source &chip) { chip.write("bw_emi_detail", "1"); }, "bw_emi_detail",
     "detail view", "ovk write bw_emi_detail '0'"},
    {"zt410", [](chip_source &chip) { chip.write("simple_mon", "1"); }, "simple_mon", "simple view",
     "ovk write simple_mon '0'"},
    {"zt410", [](chip_source &chip) { chip.write("debug_log_on", "1"); }, "debug_log_on", "traced",
     "ovk write debug_log_on '0'"},
    {"zt410", [](chip_source &chip) { chip.write("reg_op", "0x1c441138"); }, "reg_op",
     "a register is selected", "ovk write reg_op '0x0'"},
    {"zt440", fill_total, "bw_total", "cut at 4095 bytes", "simple_mon"},
};

}  // namespace

TEST(doctor, finds_nothing_wrong_with_a_good_chip) {
    for (const char *soc : {"zt410", "zt420", "zt430", "zt440"}) {
        const outcome came = ovk_with({"-s", std::string("sim:") + soc, "doctor"});
        EXPECT_EQ(came.status, 0) << came.out;
        EXPECT_EQ(std::count(came.out.begin(), came.out.end(), '\n'), 12);
        EXPECT_FALSE(has(came.out, "WRONG")) << came.out;
        EXPECT_TRUE(has(came.out, "selections: as after loading")) << came.out;
    }
}

// Each alone, so that it is known what says what. What it tells to write makes it well again.
TEST(doctor, names_what_is_wrong_and_what_to_do) {
    for (const ailment &each : ailments) {
        chip_source chip(each.soc);
        each.cause(chip);
        const auto found = wrong_ones(chip);
        ASSERT_EQ(found.size(), 1u) << each.subject;
        EXPECT_EQ(found[0].found, health::wrong);
        EXPECT_EQ(found[0].subject, each.subject);
        EXPECT_TRUE(has(found[0].what, each.what)) << found[0].what;
        EXPECT_TRUE(has(found[0].next, each.next)) << found[0].next;
        if (has(each.next, "ovk write")) {
            const std::string next = each.next;
            const std::size_t start = next.find('\'') + 1;
            chip.write(each.subject, next.substr(start, next.rfind('\'') - start));
            EXPECT_TRUE(wrong_ones(chip).empty()) << each.next;
        }
    }
}

TEST(doctor, tells_of_time_outs_in_every_report_that_has_one) {
    chip_source chip("zt410");
    chip.hang("emi_cen0");
    const auto found = wrong_ones(chip);

    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].subject, "bw_total");
    EXPECT_EQ(found[0].what, "kernel log: [OVK_BW]EMI monitor time out");
    EXPECT_EQ(found[1].subject, "bw_emi");
    EXPECT_EQ(found[2].subject, "bw_bus");
    EXPECT_TRUE(has(found[2].what, "read: Connection timed out")) << found[2].what;
}

TEST(doctor, tells_what_a_recording_does_not_have) {
    const scratch files;
    ASSERT_EQ(ovk_with({"-s", "sim:zt410", "record", "-o", files.path("r"), "--count", "1",
                        "--reports", "total,bus"})
                  .status,
              0);
    const outcome came = ovk_with({"-s", "file:" + files.path("r"), "doctor"});

    EXPECT_EQ(came.status, 0) << came.out;
    EXPECT_TRUE(has(came.out, "ok     bw_total: complete")) << came.out;
    EXPECT_TRUE(has(came.out, "?      permissions: is not in the recording")) << came.out;
    EXPECT_TRUE(has(came.out, "?      bw_emi: is not in the recording")) << came.out;
    EXPECT_TRUE(has(came.out, "those that can be read")) << came.out;
}

// A folder with files that are no reports.
TEST(doctor, tells_of_attributes_that_are_missing_or_say_something_else) {
    const scratch files;
    files.put("bw_total", "something\n");
    files.put("bw_bus", "");
    const outcome came = ovk_with({"-s", "sysfs:" + files.path(), "doctor"});

    EXPECT_EQ(came.status, 1);
    EXPECT_TRUE(has(came.out, "WRONG  module: attributes are missing: bw_emi bw_emi_detail"))
        << came.out;
    EXPECT_TRUE(has(came.out, "WRONG  bw_total: unparsed lines: 1")) << came.out;
    EXPECT_TRUE(has(came.out, "WRONG  bw_bus: empty")) << came.out;
    EXPECT_TRUE(has(came.out, "WRONG  bw_emi: read: No such file or directory")) << came.out;
}

}  // namespace ovk::tests
