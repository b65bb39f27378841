// SPDX-License-Identifier: GPL-2.0-only
// The real module on a real kernel. A boot fails by itself when the kernel warns, when a task hangs
// or when the module makes an access that the chip does not have; see ./run kernel.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <future>

#include "lab/tests/chips.h"
#include "lab/tests/guest.h"
#include "sim/simulator.h"
#include "tests/attribute_list.h"
#include "tests/pattern.h"
#include "tests/report_text.h"

namespace lab {

class kernel : public guest {};

TEST_F(kernel, publishes_the_attributes_with_their_modes_and_pulls_in_the_siblings) {
    lines modes = lines_of(tests::names_and_modes(tests::attribute_list()));
    std::sort(modes.begin(), modes.end());

    const std::string printed = run({"--unloaded"}, R"(
        modprobe ovk_bw || exit
        cd /sys/bus/platform/drivers/ovk-bw
        echo @@attributes
        stat -c '%n 0%a' * | grep -vE '^(bind|unbind|uevent|module) ' | LC_ALL=C sort
        echo @@modules
        awk '{ print $1, $4 }' /proc/modules
        modinfo ovk_bw | grep '^depends:' | tr -s ' '
        # O and E say that it is not the kernel's own; P would say that its license is not GPL.
        echo taints: $(tr -d OE </sys/module/ovk_bw/taint)
    )");

    EXPECT_EQ(lines_of(section(printed, "attributes")), modes);
    EXPECT_EQ(section(printed, "modules"),
              "ovk_bw -\novk_smi_tv ovk_bw,\novk_dramc ovk_bw,\n"
              "depends: ovk-dramc,ovk-smi-tv\ntaints:\n");
}

// The monitors lose their rows while the kernel rehearses a sleep, the second time up to the point
// where the power would go. The host sees by the kernel's log when it has come that far.
TEST_F(kernel, restores_the_rows_of_the_monitors_after_a_sleep) {
    const auto configuration = configuration_of(sim::chip_tree("zt430"));
    const std::size_t monitors = configuration.size() / 8;
    const auto said = [this](const std::string &what) -> std::size_t {
        const lines log = lines_of(content_of(path("log")));
        return std::count_if(log.begin(), log.end(), [&what](const std::string &line) {
            return line.find("OVK EFFI " + what) != line.npos;
        });
    };
    auto booted = std::async(std::launch::async, [this] {
        return run({}, R"(
            echo 3 >/sys/module/suspend/parameters/pm_test_delay
            for depth in devices platform; do
                echo $depth >/sys/power/pm_test
                echo freeze >/sys/power/state || exit
            done
        )");
    });
    for (std::size_t sleeps = 1; sleeps <= 2; ++sleeps) {
        while (said("Suspend") < sleeps * monitors) {
            const auto state = booted.wait_for(std::chrono::milliseconds(10));
            ASSERT_EQ(state, std::future_status::timeout) << "the guest did not sleep";
        }
        soc::register_file registers(path("registers"));
        for (const std::uint64_t address : configuration) {
            registers.set32(address, 0);
        }
        EXPECT_EQ(said("Resume"), (sleeps - 1) * monitors);
    }
    booted.get();
    EXPECT_EQ(said("Suspend"), 2 * monitors);
    EXPECT_EQ(said("Resume"), 2 * monitors);
    expect_configured("zt430", soc::register_file(path("registers")));
}

// The kernel itself comes and goes with some dozen objects: one per load is far more. Caches are
// looked at after the objects that only wait for use went back.
TEST_F(kernel, keeps_no_memory_over_two_hundred_loads) {
    const std::string printed = run({}, R"(
        cycle() { for i in $(seq $1); do rmmod ovk_bw && modprobe ovk_bw || exit; done; }
        held() {
            for cache in /sys/kernel/slab/*kmalloc*; do
                echo 1 >$cache/shrink
                read -r objects rest <$cache/objects
                echo ${cache##*/} $objects
            done
        }
        cycle 10
        held >/tmp/before
        cycle 200
        held >/tmp/after
        awk 'NR == FNR { before[$1] = $2; next }
             $2 - before[$1] >= 100 { print $1, $2 - before[$1] }
             END { if (FNR > 4) print "looked at" }' /tmp/before /tmp/after
    )");
    EXPECT_EQ(printed, "looked at\n");
}

// What the chip counted was for one report after the other.
TEST_F(kernel, serves_four_readers_at_once_and_survives_unloading_under_load) {
    constexpr std::uint32_t time_ms = 4;
    const auto tree = sim::chip_tree("zt430");
    const auto traffic = sim::find_scenario("zt430", "playback");

    const std::string printed = run({}, "enable() {\n" + enable_all(tree, time_ms) + "}\n" + R"(
        echo 10 >/proc/sys/kernel/hung_task_timeout_secs
        attributes=$PWD
        enable
        cd /
        for round in 1 2 3 4 5; do
            for reader in 1 2 3 4; do
                while cat $attributes/bw_total >/tmp/one$reader 2>/dev/null; do
                    cat /tmp/one$reader
                done >>/tmp/all$round$reader &
            done
            for writer in 1 2; do
                while echo 0 1 4 0 >$attributes/bw_total && echo 0 >$attributes/simple_mon; do
                    :
                done 2>/dev/null &
            done
            until sleep 1 && [ $(grep -l Status /tmp/all$round? | wc -l) = 4 ]; do :; done
            rmmod ovk_bw || exit
            wait
            modprobe ovk_bw || exit
            (cd $attributes && enable)
        done
        sed 's/Starting Monitor/@@&/' /tmp/all*
    )");

    run_log runs(path("runs"));
    const tests::oracle oracle(tree, traffic, time_ms, runs.lengths());
    std::vector<std::vector<tests::expected_row>> counted;
    for (lines before, left = runs.left(); !left.empty() && left != before; left = runs.left()) {
        before = left;
        counted.push_back(oracle.total());
    }
    EXPECT_EQ(runs.left(), lines{});
    std::size_t reports = 0;
    for (std::size_t at = printed.find("@@"); at != printed.npos; at = printed.find("@@", at + 1)) {
        const std::string report = printed.substr(at, printed.find("@@", at + 1) - at);
        EXPECT_GE(std::count(counted.begin(), counted.end(), tests::table_rows(report)), 1)
            << tests::plain(report);
        ++reports;
    }
    EXPECT_GE(reports, 20u);
}

namespace {

// A tree that misses something, or has another text in its place.
struct bad_tree {
    std::string node;
    std::string property;
    std::string text = "";
};

// Early, in the middle of the list and behind it; and one that a load gets over.
const bad_tree bad_trees[] = {
    {"/dram_config", "emi_clock"},
    {"/bw_modules/bw_bist", "alignment"},
    {"/fifo_monitors/fifo_gop0", "riu-base"},
    {"/bw_modules/bw_ref_emi", "module-name", "OTHER"},
};

// How a load ends on the host kernel, as ovk-session says it, and what is logged.
lines load_on_host(const bad_tree &bad) {
    const devicetree::flat_tree good = sim::chip_tree("zt430");
    tests::rig host(bad.text.empty() ? good.without_property(bad.node, bad.property)
                                     : good.with_property(bad.node, bad.property, bad.text + '\0'));
    const int code = host.machine().load();
    lines result = host.log();
    result.insert(result.begin(), code == 0 ? "" : std::string("load: ") + std::strerror(-code));
    return result;
}

// The same from what the guest printed. The module's own lines of its log are "<3>[    2.5] text".
lines load_in_guest(const std::string &printed) {
    static const std::string message = "<(.)>\\[[^\\]]*\\] (.*(OVK|effi table|chip dram).*)";
    lines result;
    for (const std::string &line : lines_of(printed)) {
        const lines found = tests::groups_of(line, message);
        if (result.empty()) {
            result.push_back(line);
        } else if (!found.empty()) {
            result.push_back("<" + found[0] + ">" + found[1]);
        }
    }
    return result;
}

}  // namespace

// modprobe tries twice, in two ways; the log is that of one load.
TEST_F(kernel, refuses_a_bad_tree_with_its_messages_and_loads_on_the_next_good_one) {
    std::string commands = R"(
        modinfo ovk-edit-tree >/dev/null 2>&1 || { echo absent; exit 0; }
        modprobe ovk_bw && rmmod ovk_bw || exit
        load_on() { # PROPERTY EDIT...
            modprobe ovk-edit-tree property=$* || exit
            dmesg -c >/dev/null
            echo @@$1
            echo $(ovk-session load 2>&1)
            dmesg -rc
            [ ! -d /sys/module/ovk_bw ] || rmmod ovk_bw
            rmmod ovk-edit-tree && modprobe ovk_bw && rmmod ovk_bw || exit
        }
    )";
    for (const bad_tree &bad : bad_trees) {
        commands += "load_on " + bad.property + " nodes=" + bad.node +
                    (bad.text.empty() ? "\n" : " text=" + bad.text + "\n");
    }

    const std::string printed = run({"--unloaded"}, commands);

    if (printed == "absent\n") {
        GTEST_SKIP() << "this kernel lets no module change the device tree";
    }
    for (const bad_tree &bad : bad_trees) {
        EXPECT_EQ(load_in_guest(section(printed, bad.property)), load_on_host(bad)) << bad.property;
    }
}

// The last two sections: nothing waits for a reader in a long window, or for a test in a loop.
TEST_F(kernel, carries_settings_to_siblings_says_what_was_refused_and_keeps_no_process_waiting) {
    const std::string printed = run({"--soc", "zt410"}, R"(
        sibling=/sys/module/ovk_smi_tv/parameters
        mask() {
            echo $* >mask || exit
            cat $sibling/last_id $sibling/last_port $sibling/last_enable
        }
        dmesg -c >/dev/null
        echo @@mask
        mask 1 4 1
        echo 1 >$sibling/refuse
        mask 0 2 1
        dmesg -c | grep -o '[[]OVK_BW].*'
        echo @@cpupri
        echo 2 1 0x80000000 0x100000 >cpupri || exit
        echo 1 3 0x80000000 0x100000 2>&1 >cpupri && exit 1
        cat cpupri cpupri_slot
        echo @@limit
        echo 2 3000 >bw_larb
        cat bw_larb &
        measuring() { grep -q usleep /proc/$!/wchan; }
        until sleep 1 && measuring; do :; done
        echo 0 0 1 >bw_emi_lmt && measuring && echo limited
        kill -9 $!
        wait
        echo @@loop
        echo 0 >/sys/module/suspend/parameters/pm_test_delay
        echo freezer >/sys/power/pm_test
        for end in 'echo 1 0 >fake_eng_loop' 'echo freeze >/sys/power/state' 'kill $!' \
            'time rmmod ovk_bw'; do
            echo 1 1 >fake_eng_loop
            (trap : TERM; echo 1 80000000 1000 2 a5a5 >fake_engine; echo ended) &
            until sleep 1 && dmesg -c | grep -q 'id = 1,'; do :; done
            echo "$end"
            eval "$end" || exit
            wait
        done
        modprobe ovk_bw && cd "$PWD" || exit
        echo 1 80000000 1000 2 a5a5 >fake_engine
        cat fake_engine
    )");

    EXPECT_EQ(section(printed, "mask"),
              "1\n4\nY\n0\n2\nY\n"
              "[OVK_BW]MIU2GMC ID = 1, port= 4, enable=1\n"
              "[OVK_BW]MIU2GMC ID = 0, port= 2, enable=1\n"
              "[OVK_BW]Mask error!!\n");
    const soc::register_file registers(path("registers"));
    const auto tree = sim::chip_tree("zt410");
    EXPECT_EQ(registers.get32(tree.by_name("miu2gmc1")->reg.at(0).start + 0x40), 1u << 4);
    EXPECT_EQ(registers.get32(tree.by_name("miu2gmc0")->reg.at(0).start + 0x40), 0u);
    EXPECT_EQ(section(printed, "cpupri"),
              "sh: write error: Operation not permitted\n"
              "scope:1 - start addr:0x80000000, end addr:0x800fffff\n0\n");
    EXPECT_EQ(section(printed, "limit"), "limited\n");
    EXPECT_EQ(tests::plain(section(printed, "loop")),
              "echo 1 0 >fake_eng_loop\nended\necho freeze >/sys/power/state\nended\n"
              "kill $!\nended\ntime rmmod ovk_bw\nended\n"
              "Fake engine 0: NO RESULT\nFake engine 1: PASS\n");
}

}  // namespace lab
