// SPDX-License-Identifier: GPL-2.0-only
// The real module on a real kernel. A boot fails by itself when the kernel warns, when a task hangs
// or when the module makes an access that the chip does not have; see ./run kernel.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <map>
#include <sstream>

#include "lab/tests/chips.h"
#include "lab/tests/guest.h"
#include "lab/tests/run_log.h"
#include "sim/simulator.h"
#include "tests/attribute_list.h"
#include "tests/pattern.h"
#include "tests/report_text.h"
#include "tests/rig.h"

namespace lab {

namespace {

using lines = std::vector<std::string>;

// Several reports, one after the other.
lines split_reports(const std::string &text) {
    static const std::string start = "Starting Monitor";
    lines result;
    for (std::size_t at = text.find(start); at != std::string::npos;) {
        const std::size_t next = text.find(start, at + 1);
        result.push_back(text.substr(at, next == std::string::npos ? next : next - at));
        at = next;
    }
    return result;
}

}  // namespace

TEST(kernel, publishes_the_attributes_with_their_modes_and_pulls_in_the_siblings) {
    lines modes;
    for (const tests::attribute &each : tests::attribute_list()) {
        std::ostringstream line;
        line << each.name << " " << std::oct << each.mode;
        modes.push_back(line.str());
    }
    std::sort(modes.begin(), modes.end());

    const ending guest = run({"--unloaded"}, R"(
        modprobe ovk_bw || exit
        cd /sys/bus/platform/drivers/ovk-bw
        echo @@attributes
        stat -c '%n %a' * | grep -vE '^(bind|unbind|uevent|module) ' | LC_ALL=C sort
        echo @@modules
        awk '{ print $1, $4 }' /proc/modules
        echo @@modinfo
        modinfo ovk_bw
    )");

    EXPECT_EQ(guest.status, 0) << guest.err;
    EXPECT_EQ(guest.section_lines("attributes"), modes);
    EXPECT_EQ(guest.section_lines("modules"),
              (lines{"ovk_bw -", "ovk_smi_tv ovk_bw,", "ovk_dramc ovk_bw,"}));
    const std::string information = guest.section("modinfo");
    for (const char *line :
         {"\nlicense: +GPL\n", "\ndepends: +ovk-dramc,ovk-smi-tv\n", "filename: +.*/ovk_bw.ko\n"}) {
        EXPECT_TRUE(tests::contains(information, line)) << line << information;
    }
}

namespace {

std::size_t occurrences(const std::string &text, const std::string &part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

// Waits for the n-th sleep of all monitors and takes their rows away. False: the guest ended first.
bool erase_rows_in_sleep(std::size_t n, const boot_files &files, const std::future<ending> &booted,
                         const std::vector<const devicetree::node *> &monitors) {
    std::string console;
    do {
        if (booted.wait_for(std::chrono::milliseconds(10)) == std::future_status::ready) {
            return false;
        }
        console = content_of(files.path("console"));
    } while (occurrences(console, "OVK EFFI Suspend") < n * monitors.size());

    soc::register_file registers(files.path("registers"));
    for (const devicetree::node *monitor : monitors) {
        erase_row(registers, *monitor);
    }
    return occurrences(console, "OVK EFFI Resume") == (n - 1) * monitors.size();
}

}  // namespace

// First the kernel's own rehearsal of it, then a sleep that the clock ends.
TEST(kernel, restores_the_rows_of_the_monitors_after_a_sleep) {
    const boot_files files;
    const auto tree = sim::chip_tree("zt430");
    const auto monitors = monitors_of(tree);
    std::future<ending> booted = std::async(std::launch::async, [&files] {
        return run(files, {}, R"(
            said() { dmesg -c | grep -o 'OVK EFFI.*' | sort | uniq -c; }
            said
            echo 1 >/sys/module/suspend/parameters/pm_test_delay
            echo devices >/sys/power/pm_test
            echo freeze >/sys/power/state || exit
            said
            echo none >/sys/power/pm_test
            echo +2 >/sys/class/rtc/rtc0/wakealarm
            echo freeze >/sys/power/state || exit
            said
        )");
    });

    EXPECT_TRUE(erase_rows_in_sleep(1, files, booted, monitors));
    EXPECT_TRUE(erase_rows_in_sleep(2, files, booted, monitors));

    const ending guest = booted.get();
    EXPECT_EQ(guest.status, 0) << guest.err;
    const std::string count = std::to_string(monitors.size());
    const std::string both = count + " OVK EFFI Resume\n" + count + " OVK EFFI Suspend\n";
    EXPECT_EQ(tests::replaced(guest.out, "(^|\n) +", "$1"), both + both);
    const soc::register_file registers(files.path("registers"));
    for (const devicetree::node *monitor : monitors) {
        EXPECT_EQ(row_of(registers, *monitor), row_on_the_host("zt430")) << monitor->name;
    }
}

namespace {

// Objects by cache, from lines "CACHE OBJECTS".
std::map<std::string, long> objects_by_cache(const std::string &text) {
    std::istringstream in(text);
    std::map<std::string, long> result;
    std::string cache;
    for (long objects = 0; in >> cache >> objects;) {
        result[cache] = objects;
    }
    return result;
}

}  // namespace

// The kernel itself comes and goes with some dozen objects: what counts is one per load.
TEST(kernel, keeps_no_memory_over_a_hundred_loads) {
    constexpr long loads = 100;

    const ending guest = run({}, R"(
        cycle() { rmmod ovk_bw && modprobe ovk_bw; }
        # After the objects that only wait for use went back.
        held() {
            for cache in /sys/kernel/slab/*kmalloc*; do
                echo 1 >$cache/shrink
                read -r objects rest <$cache/objects
                echo ${cache##*/} $objects
            done
        }
        for i in $(seq 10); do cycle || exit; done
        echo @@before
        held
        for i in $(seq 100); do cycle || exit; done
        echo @@after
        held
    )");

    EXPECT_EQ(guest.status, 0) << guest.err;
    const auto before = objects_by_cache(guest.section("before"));
    EXPECT_GT(before.size(), 4u);
    for (const auto &[cache, objects] : objects_by_cache(guest.section("after"))) {
        EXPECT_LT(objects - before.at(cache), loads) << cache;
    }
}

TEST(kernel, serves_four_readers_at_once_and_survives_unloading_under_load) {
    constexpr std::uint32_t time_ms = 4;
    const auto tree = sim::chip_tree("zt430");
    const auto traffic = sim::find_scenario("zt430", "playback");
    const boot_files files;

    const ending guest = run(files, {"--runs", files.path("runs")},
                             "enable() {\n" + enable_all(tree, time_ms) + "}\n" + R"(
        echo 10 >/proc/sys/kernel/hung_task_timeout_secs
        enable
        echo @@together
        for reader in 1 2 3 4; do
            { cat bw_total; cat bw_total; } >/tmp/report$reader &
        done
        wait
        cat /tmp/report?
        cd /
        attributes=/sys/bus/platform/drivers/ovk-bw
        echo @@unloading
        for round in 1 2 3 4 5; do
            for reader in 1 2 3 4; do
                while cat $attributes/bw_total >/tmp/one$reader 2>/dev/null; do
                    cat /tmp/one$reader
                done >>/tmp/all$reader &
            done
            for writer in 1 2; do
                while echo 0 1 4 0 >$attributes/bw_total && echo 0 >$attributes/simple_mon; do
                    :
                done 2>/dev/null &
            done
            until sleep 1 && cat /tmp/all? | grep -q Status; do :; done
            rmmod ovk_bw || exit
            wait
            modprobe ovk_bw || exit
            (cd $attributes && enable)
        done
        cat /tmp/all?
    )");

    EXPECT_EQ(guest.status, 0) << guest.err;
    // What the chip counted was for one report after the other.
    run_log runs(files.path("runs"));
    const tests::oracle oracle(tree, traffic, time_ms, runs.lengths());
    std::vector<std::vector<tests::expected_row>> counted;
    for (lines left = runs.left(), before; !left.empty() && left != before;
         before.swap(left), left = runs.left()) {
        counted.push_back(oracle.total());
    }
    EXPECT_EQ(runs.left(), lines{});
    EXPECT_EQ(split_reports(guest.section("together")).size(), 8u);
    EXPECT_GT(split_reports(guest.section("unloading")).size(), 0u);
    for (const std::string &report : split_reports(guest.out)) {
        EXPECT_GE(std::count(counted.begin(), counted.end(), tests::table_rows(report)), 1)
            << tests::plain(report);
    }
}

namespace {

// A tree that misses something, or holds something wrong.
struct bad_tree {
    std::string node;
    std::string property;
    std::string text;  // in its place; empty: nothing
    bool loads = false;
};

// Early, in the middle of the list and behind it; and one that a load gets over.
const bad_tree bad_trees[] = {
    {"/dram_config", "emi_clock", ""},
    {"/bw_modules/bw_bist", "alignment", ""},
    {"/fifo_monitors/fifo_gop0", "riu-base", ""},
    {"/bw_modules/bw_ref_emi", "module-name", "OTHER", true},
};

// What the host kernel logs on that tree.
lines log_on_host(const devicetree::flat_tree &good, const bad_tree &bad) {
    tests::rig host(bad.text.empty() ? good.without_property(bad.node, bad.property)
                                     : good.with_property(bad.node, bad.property,
                                                          bad.text + std::string(1, '\0')));
    EXPECT_EQ(host.machine().load() == 0, bad.loads) << bad.node << " " << bad.property;
    return host.log();
}

// "<3>[    2.5] text" without the time; the module's own lines.
lines module_log(const lines &kernel_log) {
    static const std::string own = "<([0-9])>\\[ *[0-9.]+\\] (.*(OVK|effi table|chip dram).*)";
    lines result;
    for (const std::string &line : kernel_log) {
        const lines found = tests::groups_of(line, own);
        if (!found.empty()) {
            result.push_back("<" + found[0] + ">" + found[1]);
        }
    }
    return result;
}

// modprobe tries twice, in two ways; the log is that of one load.
std::string load_on(const bad_tree &bad, const std::string &name) {
    const std::string replacement = bad.text.empty() ? "" : " text=" + bad.text;
    return "modprobe ovk-edit-tree nodes=" + bad.node + " property=" + bad.property + replacement +
           " || exit\necho @@modprobe" + name + R"(
        modprobe ovk_bw 2>&1 && rmmod ovk_bw
        dmesg -c >/dev/null
        ovk-session load 2>&1
        echo @@log)" +
           name + R"(
        dmesg -rc
        [ ! -d /sys/module/ovk_bw ] || rmmod ovk_bw
        rmmod ovk-edit-tree || exit
        modprobe ovk_bw || exit
        rmmod ovk_bw || exit
)";
}

}  // namespace

TEST(kernel, refuses_a_bad_tree_with_its_messages_and_loads_on_the_next_good_one) {
    const auto tree = sim::chip_tree("zt430");
    std::string commands = "modinfo ovk-edit-tree >/dev/null 2>&1 || { echo absent; exit 0; }\n";
    for (const bad_tree &bad : bad_trees) {
        commands += load_on(bad, bad.property);
    }

    const ending guest = run({"--unloaded"}, commands);

    if (guest.out == "absent\n") {
        GTEST_SKIP() << "this kernel lets no module change the device tree";
    }
    ASSERT_EQ(guest.status, 0) << guest.err << guest.out;
    for (const bad_tree &bad : bad_trees) {
        EXPECT_EQ(module_log(guest.section_lines("log" + bad.property)), log_on_host(tree, bad))
            << bad.property;
        const std::string refusal = guest.section("modprobe" + bad.property);
        EXPECT_EQ(refusal.find("Operation not permitted") == std::string::npos, bad.loads)
            << bad.property << ": " << refusal;
    }
}

// The last two sections: nothing waits for a reader in a long window, or for a test in a loop.
TEST(kernel,
     carries_settings_to_siblings_and_processes_says_what_was_refused_and_keeps_none_waiting) {
    const boot_files files;
    const ending guest = run(files, {"--soc", "zt410"}, R"(
        sibling=/sys/module/ovk_smi_tv/parameters
        new() { dmesg -c | grep -o '[[]OVK_BW].*'; }
        new
        echo @@mask
        echo 1 4 1 >mask || exit
        cat $sibling/last_id $sibling/last_port $sibling/last_enable
        echo 1 >$sibling/refuse
        echo 0 2 1 >mask || exit
        cat $sibling/last_id $sibling/last_port $sibling/last_enable
        new
        echo @@cpupri
        echo 2 1 0x80000000 0x100000 >cpupri || exit
        echo 1 3 0x80000000 0x100000 >cpupri && exit 1
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

    EXPECT_EQ(guest.status, 0) << guest.err;
    EXPECT_EQ(guest.section("mask"),
              "1\n4\nY\n0\n2\nY\n"
              "[OVK_BW]MIU2GMC ID = 1, port= 4, enable=1\n"
              "[OVK_BW]MIU2GMC ID = 0, port= 2, enable=1\n"
              "[OVK_BW]Mask error!!\n");
    const soc::register_file registers(files.path("registers"));
    const auto tree = sim::chip_tree("zt410");
    EXPECT_EQ(registers.get32(tree.by_name("miu2gmc1")->reg.at(0).start + 0x40), 1u << 4);
    EXPECT_EQ(registers.get32(tree.by_name("miu2gmc0")->reg.at(0).start + 0x40), 0u);
    EXPECT_NE(guest.err.find("Operation not permitted"), std::string::npos) << guest.err;
    EXPECT_EQ(guest.section("cpupri"), "scope:1 - start addr:0x80000000, end addr:0x800fffff\n0\n");
    EXPECT_EQ(guest.section("limit"), "limited\n");
    EXPECT_EQ(tests::plain(guest.section("loop")),
              "echo 1 0 >fake_eng_loop\nended\necho freeze >/sys/power/state\nended\n"
              "kill $!\nended\ntime rmmod ovk_bw\nended\n"
              "Fake engine 0: NO RESULT\nFake engine 1: PASS\n");
}

}  // namespace lab
