// SPDX-License-Identifier: GPL-2.0-only
#include <nlohmann/json.hpp>

#include "ovk/qos/settings.h"
#include "ovk/source/recording_text.h"
#include "ovk/tests/chip_source.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"

namespace ovk::tests {

namespace {

// A chip is at its power-on state in every run of the program: the settings are in the file.
class qos_command : public testing::Test {
  protected:
    outcome qos(const std::string &command) {
        return ovk_with("-s sim:zt410 qos " + command + " " + file);
    }

    // Saves, and puts other values at these places of the file.
    void save_with(const std::vector<std::pair<const char *, json>> &values) {
        ASSERT_EQ(qos("save").status, 0);
        json settings = json::parse(files.content("settings"));
        for (const auto &[place, value] : values) {
            settings[json::json_pointer(place)] = value;
        }
        files.put("settings", settings.dump());
    }

    const scratch files;
    const std::string file = files.path("settings");
};

json range(int scope, std::uint64_t start, std::uint64_t end) {
    return {{"scope", scope}, {"on", true}, {"start", start}, {"end", end}};
}

// Some that differ, and some that are not known.
const std::vector<std::pair<const char *, json>> tuned = {
    {"/emi/15/bandwidth_limit", 3},    {"/emi/2/write_timer", 0xa0},
    {"/emi/5/read_outstanding", 0x12}, {"/larbs/193/outstanding_limit", 0x1f},
    {"/larbs/193/force_preultra", 1},  {"/cpu_ranges/1", range(1, 0x80000000, 0x800fffff)},
    {"/emi/0/read_timer", nullptr},    {"/cpu_ranges/2/on", nullptr},
};

constexpr const char *changes =
    "EMI channel 0 port 2 write_timer: 0x0 -> 0xa0\n"
    "EMI channel 0 port 5 read_outstanding: 0x0 -> 0x12\n"
    "EMI channel 1 port 7 bandwidth_limit: 0x0 -> 0x3\n"
    "larb 6 port 1 force_preultra: 0x0 -> 0x1\n"
    "larb 6 port 1 outstanding_limit: 0x0 -> 0x1f\n"
    "CPU range of scope 1: off -> 0x80000000-0x800fffff\n";

constexpr const char *writes =
    "write bw_emi_timer 0 2 1 a0\n"
    "write bw_emi_ostd 0 5 0 12\n"
    "write bw_emi_lmt 1 7 3\n"
    "write larb_config 2 6 1 1\n"
    "write larb_config 0 6 1 1f\n"
    "write cpupri 2 1 0x80000000 0x100000\n";

}  // namespace

TEST_F(qos_command, save_names_what_nothing_shows_in_the_file_and_to_the_user) {
    const outcome saved = qos("save");
    const json settings = json::parse(files.content("settings"));
    std::string unreadable;
    for (const json &each : settings["unreadable"]) {
        unreadable += "ovk: not saved: " + each.get<std::string>() + "\n";
    }

    EXPECT_EQ(saved.status, 0);
    EXPECT_EQ(saved.out, "");
    EXPECT_TRUE(has(saved.err, unreadable));
    EXPECT_EQ(settings["ovk_qos"], 1);
    EXPECT_EQ(settings["chip_compatible"], "quorix,zt410");
    EXPECT_EQ(settings["emi"].size(), 2u * 8);
    EXPECT_EQ(settings["larbs"].size(), 8u * 32);
    EXPECT_EQ(settings["cpu_ranges"].size(), 3u);
    for (const char *each : {"masks of MIU2GMC ports", "the mode of the CPU ranges",
                             "forced priorities of larb 6 ports 2-31"}) {
        EXPECT_TRUE(has(unreadable, each));
    }
    EXPECT_FALSE(has(unreadable, "EMI"));
}

TEST_F(qos_command, diff_ends_with_status_1_when_something_differs) {
    save_with(tuned);
    const outcome differing = qos("diff");
    EXPECT_EQ(differing.status, 1);
    EXPECT_EQ(differing.out, changes);
    ASSERT_EQ(qos("save").status, 0);
    const outcome same = qos("diff");
    EXPECT_EQ(same.status, 0);
    EXPECT_EQ(same.out, "");
}

TEST_F(qos_command, restore_prints_what_it_changes_or_only_would) {
    save_with(tuned);
    const outcome dry = qos("restore --dry-run --cpu-mode 2");
    EXPECT_TRUE(ends(dry, 0, "nothing shows the mode of the CPU ranges"));
    EXPECT_EQ(dry.out, writes);
    const outcome done = qos("restore");
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_EQ(done.out, changes);
}

TEST_F(qos_command, restore_refuses_what_it_can_not_restore_before_it_writes) {
    const struct {
        const char *place;
        json value;
        int status;
        const char *says;
    } values[] = {
        {"/ovk_qos", 2, 2, "its format is 2"},
        {"/emi/0/port", -1, 2, "below 0 or not whole"},
        {"/emi/0/read_timer", 1.5, 2, "below 0 or not whole"},
        {"/emi/0/read_timer", "1", 2, "must be number"},
        {"/cpu_ranges/0/scope", 3, 2, "no settings"},
        {"/larbs", nullptr, 2, "no settings"},
        {"/larbs/34/outstanding_limit", 0x40, 5, "no attribute takes this: larb 1 port 2"},
        {"/emi/2/read_timer", 0x100, 5, "no attribute takes this: EMI channel 0 port 2"},
        {"/cpu_ranges/0", range(0, 0x1000, 0x27ff), 5,
         "no attribute takes this: CPU range of scope 0: off -> 0x1000-0x27ff"},
        {"/larbs/0/larb", 52, 5, "has not: larb 52 port 0"},
        {"/larbs/30/force_ultra", 1, 5, "can't be read now: larb 0 port 30"},
        {"/chip_compatible", "quorix,zt411", 0, ""},
        {"/chip_compatible", "", 0, ""},
    };
    for (const auto &[place, value, status, says] : values) {
        save_with({{place, value}});
        EXPECT_TRUE(ends(qos("restore"), status, says)) << place;
    }
}

TEST_F(qos_command, takes_no_file_of_another_chip_that_does_not_fit_and_none_that_is_no_file) {
    ASSERT_EQ(qos("save").status, 0);
    EXPECT_TRUE(ends(ovk_with("-s sim:zt420 qos diff " + file), 5,
                     "the file, of quorix,zt410, has what this device has not: EMI channel 1"));
    ASSERT_EQ(ovk_with("-s sim:zt420 qos save " + file).status, 0);
    EXPECT_TRUE(ends(qos("diff"), 5,
                     "the file is of quorix,zt420, and this is quorix,zt410, which has more: "
                     "EMI channel 1 port 0"));
    const std::string good = files.content("settings");
    for (const std::string &content : {std::string(), std::string("{}"), good.substr(0, 9999)}) {
        files.put("settings", content);
        EXPECT_TRUE(ends(qos("diff"), 2, file + ": no settings")) << content;
    }
    for (const char *wrong : {"diff /none", "save /none/file", ""}) {
        EXPECT_EQ(ovk_with(std::string("-s sim:zt410 qos ") + wrong).status, 2) << wrong;
    }
}

// Without the log, a larb that is not there looks like one without limits.
TEST(qos, save_goes_by_the_modules_when_the_log_can_not_be_read) {
    chip_source chip("zt430");
    const qos_settings seen = read_settings(chip);
    chip.shows_log = false;
    const qos_settings unseen = read_settings(chip);

    EXPECT_EQ(seen.ports, unseen.ports);
    EXPECT_EQ(unseen.unreadable.size(), seen.unreadable.size() + 1);
    EXPECT_EQ(seen.ports.count({true, 10, 0, "outstanding_limit"}), 0u);
}

}  // namespace ovk::tests
