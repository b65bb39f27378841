// SPDX-License-Identifier: GPL-2.0-only
#include <nlohmann/json.hpp>

#include "ovk/qos/file.h"
#include "ovk/tests/chip_source.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"

namespace ovk::tests {

namespace {

using nlohmann::json;

// A chip is at its power-on state in every run of the program: the settings are in the file.
class qos_command : public testing::Test {
  protected:
    outcome qos(const std::string &command) {
        return ovk_with("-s sim:zt410 qos " + command + " " + file);
    }

    void save_and_edit() {
        ASSERT_EQ(qos("save").status, 0);
        json settings = json::parse(files.content("settings"));
        settings["emi"][8 + 7]["bandwidth_limit"] = 3;
        settings["emi"][2]["write_timer"] = 0xa0;
        settings["emi"][5]["read_outstanding"] = 0x12;
        settings["larbs"][6 * 32 + 1]["outstanding_limit"] = 0x1f;
        settings["larbs"][6 * 32 + 1]["force_preultra"] = 1;
        settings["cpu_ranges"][1] = {
            {"scope", 1}, {"on", true}, {"start", 0x80000000}, {"end", 0x800fffff}};
        files.put("settings", settings.dump());
    }

    const scratch files;
    const std::string file = files.path("settings");
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
    save_and_edit();
    const outcome differing = qos("diff");
    EXPECT_EQ(differing.status, 1);
    EXPECT_EQ(differing.out, changes);
    ASSERT_EQ(qos("save").status, 0);
    const outcome same = qos("diff");
    EXPECT_EQ(same.status, 0);
    EXPECT_EQ(same.out, "");
}

TEST_F(qos_command, restore_prints_what_it_changes_or_only_would) {
    save_and_edit();
    const outcome dry = qos("restore --dry-run --cpu-mode 2");
    EXPECT_TRUE(ends(dry, 0, "nothing shows the mode of the CPU ranges"));
    EXPECT_EQ(dry.out, writes);
    const outcome done = qos("restore");
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_EQ(done.out, changes);
}

TEST_F(qos_command, takes_no_file_that_is_none) {
    ASSERT_EQ(qos("save").status, 0);
    const std::string good = files.content("settings");
    const auto with = [&](const char *place, const json &value) {
        json settings = json::parse(good);
        settings[json::json_pointer(place)] = value;
        return settings.dump();
    };
    const std::pair<std::string, const char *> damages[] = {
        {"", "no settings"},
        {"{}", "ovk_qos"},
        {good.substr(0, good.size() / 2), "no settings"},
        {with("/ovk_qos", 2), "its format is 2"},
        {with("/emi/0/port", -1), "below 0 or not whole"},
        {with("/emi/0/read_timer", 1.5), "below 0 or not whole"},
        {with("/emi/0/read_timer", "1"), "must be number"},
        {with("/cpu_ranges/0/scope", 3), "no settings"},
        {with("/larbs", nullptr), "no settings"},
    };

    for (const auto &[content, says] : damages) {
        files.put("settings", content);
        const outcome came = qos("diff");
        EXPECT_TRUE(ends(came, 2, says));
        EXPECT_TRUE(has(came.err, file));
    }
    for (const char *wrong : {"diff /none", "save /none/file", ""}) {
        EXPECT_EQ(ovk_with(std::string("-s sim:zt410 qos ") + wrong).status, 2) << wrong;
    }
}

TEST(qos, file_keeps_what_is_known_and_what_is_not) {
    const scratch files;
    qos_file content{
        .version = "7",
        .source = "exec:\xff",
        .facts = {{"chip_compatible", "a"}, {"kernel_release", "\xfe"}, {"module_version", ""}},
        .settings = {.ports = {{{false, 2, 3, "read_timer"}, 255},
                               {{true, 4, 5, "force_ultra"}, std::nullopt}},
                     .unreadable = {"a", "\xfd"}}};
    for (const setting_kind &kind : setting_kinds) {
        content.settings.ports.insert(
            {{kind.of_larb, kind.of_larb ? 4u : 2u, kind.of_larb ? 5u : 3u, kind.name}, 1});
    }
    content.settings.cpu[1] = {true, {}};
    content.settings.cpu[2] = {true, address_range{0x1000, 0xfffffffffff}};
    write_qos_file(files.path("f"), content);

    const qos_file read = read_qos_file(files.path("f"));
    EXPECT_EQ(read.version, "7");
    EXPECT_EQ(read.source, content.source);
    EXPECT_EQ(read.facts.at("kernel_release"), "\xfe");
    EXPECT_EQ(read.settings.ports, content.settings.ports);
    EXPECT_EQ(read.settings.unreadable, content.settings.unreadable);
    EXPECT_FALSE(read.settings.cpu[0].known);
    EXPECT_TRUE(read.settings.cpu[1].known && !read.settings.cpu[1].range);
    EXPECT_EQ(read.settings.cpu[2].range, content.settings.cpu[2].range);
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
