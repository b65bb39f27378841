// SPDX-License-Identifier: GPL-2.0-only
// The real module on a real kernel. A boot fails by itself when the kernel warns, when a task hangs
// or when the module makes an access that the chip does not have; see ./run kernel.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <sstream>

#include "lab/tests/guest.h"
#include "sim/simulator.h"
#include "soc/register_file.h"
#include "tests/oracle.h"
#include "tests/pattern.h"
#include "tests/port_oracle.h"
#include "tests/report_text.h"
#include "tests/rig.h"

namespace lab {

namespace {

using lines = std::vector<std::string>;
using tests::expected_report;
using tests::expected_row;

constexpr std::uint32_t first_row_register = 0x0c;
constexpr std::uint32_t row_words = 8;
constexpr std::size_t page_bytes = 4096;

struct chip_facts {
    const char *soc;
    std::uint32_t dram_clock;  // lowest channel frequency, or the tree's
    std::vector<std::uint32_t> effi_row;
};

void PrintTo(const chip_facts &chip, std::ostream *out) {
    *out << chip.soc;
}

const std::vector<chip_facts> &chips() {
    static const std::vector<chip_facts> table = {
        {"zt410", 4266, {0x200a, 0x402d, 0x5446, 0x5654, 0x5656, 0x5656, 0x5656, 0x5656}},
        {"zt420", 2666, {0x1a0d, 0x3125, 0x4136, 0x4a40, 0x4e46, 0x5049, 0x514b, 0x554c}},
        {"zt430", 3200, {0x1d0e, 0x3428, 0x453a, 0x4f45, 0x544c, 0x554f, 0x564f, 0x5650}},
        {"zt440", 3200, {0x1e0f, 0x382a, 0x4b3e, 0x544a, 0x564d, 0x5750, 0x5851, 0x5a52}},
    };
    return table;
}

// Monitors of the tree: their nodes, in its order.
std::vector<const devicetree::node *> monitors_of(const devicetree::flat_tree &tree) {
    std::vector<const devicetree::node *> result;
    for (const auto &node : tree.nodes()) {
        if (node->string("compatible").value_or("").ends_with("-effi-mon") && node->available()) {
            result.push_back(node.get());
        }
    }
    return result;
}

std::vector<std::uint32_t> row_of(const soc::register_file &registers,
                                  const devicetree::node &monitor) {
    std::vector<std::uint32_t> row;
    for (std::uint32_t word = 0; word < row_words; ++word) {
        row.push_back(registers.get32(monitor.reg.at(0).start + first_row_register + 4 * word));
    }
    return row;
}

void erase_row(soc::register_file &registers, const devicetree::node &monitor) {
    for (std::uint32_t word = 0; word < row_words; ++word) {
        registers.set32(monitor.reg.at(0).start + first_row_register + 4 * word, 0);
    }
}

std::string enable_all(const devicetree::flat_tree &tree, std::uint32_t time_ms) {
    std::string commands;
    for (std::size_t id = 0; id < tests::sources_by_module(tree).size(); ++id) {
        commands +=
            "echo " + std::to_string(id) + " 1 " + std::to_string(time_ms) + " 0 >bw_total\n";
    }
    return commands;
}

// A rate is measured while the guest sleeps: never for less than the time asked for, but for more
// on a machine that is late to wake it. One unit is lost to rounding.
bool rate_agrees(std::uint64_t measured, std::uint64_t expected, unsigned excess_percent) {
    return measured + 1 >= expected && measured <= expected + expected * excess_percent / 100 + 1;
}

constexpr unsigned quiet_machine_percent = 10;

bool about(std::uint64_t measured, std::uint64_t expected) {
    return measured + 1 >= expected && measured <= expected + 1;
}

// The chip itself times the DRAM controller's counters.
bool timed_by_the_chip(const expected_row &row) {
    return row.name == "CPU" || row.name == "GPU" || row.name == "REF_EMI";
}

// The shares of several sources are weighed with their rates, that of one source is not.
bool shares_agree(const expected_row &row, const expected_row &expected, bool single_source,
                  unsigned excess_percent) {
    if (single_source) {
        return row.ultra == expected.ultra && row.preultra == expected.preultra;
    }
    return excess_percent > quiet_machine_percent ||
           (about(row.ultra, expected.ultra) && about(row.preultra, expected.preultra));
}

bool row_agrees(const expected_row &row, const expected_row &expected, bool single_source,
                unsigned excess_percent) {
    if (timed_by_the_chip(expected)) {
        return row == expected;
    }
    return row.name == expected.name &&
           shares_agree(row, expected, single_source, excess_percent) &&
           row.effi == (row.bus == 0 ? 0 : row.data * 100 / row.bus) &&
           rate_agrees(row.data, expected.data, excess_percent) &&
           rate_agrees(row.bus, expected.bus, excess_percent);
}

std::string describe(const expected_row &row) {
    std::ostringstream text;
    text << row.name << " " << row.data << " " << row.effi << " " << row.bus << " " << row.ultra
         << " " << row.preultra << "\n";
    return text.str();
}

// What is wrong with a report; empty if nothing is.
std::string objections_to(const std::string &report, const devicetree::flat_tree &tree,
                          const expected_report &expected, unsigned excess_percent) {
    const auto sources = tests::sources_by_module(tree);
    const auto rows = tests::table_rows(report);
    std::string result;

    const bool page_full = report.size() >= page_bytes - 1;
    const bool ended = tests::plain(report).find("Status: ") != std::string::npos;

    if (rows.size() != expected.rows.size() || (!ended && !page_full)) {
        return "incomplete report:\n" + tests::plain(report);
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto own = sources.find(expected.rows[i].name);
        const bool single = own != sources.end() && own->second.size() == 1;
        if (!row_agrees(rows[i], expected.rows[i], single, excess_percent)) {
            result += "measured " + describe(rows[i]) + "expected " + describe(expected.rows[i]);
        }
    }
    return result;
}

// Columns of a row of a port report that are rates measured while the guest sleeps. Of the row of a
// larb report's totals, the efficiency is a quotient of two of them.
std::vector<std::size_t> rate_columns(const lines &words) {
    if (words[0] == "In" || words[0] == "Out") {
        return {2, 3};
    }
    return words.size() == 11 ? std::vector<std::size_t>{4, 5} : std::vector<std::size_t>{};
}

bool port_row_agrees(const std::string &row, const std::string &expected) {
    const lines measured_words = tests::words_of(row);
    lines words = tests::words_of(expected);

    if (measured_words.size() != words.size()) {
        return false;
    }
    if (words.size() == 3 && std::isdigit(words[0][0]) != 0) {
        return rate_agrees(std::stoull(measured_words[0]), std::stoull(words[0]),
                           quiet_machine_percent) &&
               about(std::stoull(measured_words[1]), std::stoull(words[1])) &&
               rate_agrees(std::stoull(measured_words[2]), std::stoull(words[2]),
                           quiet_machine_percent);
    }
    for (const std::size_t column : rate_columns(words)) {
        if (rate_agrees(std::stoull(measured_words[column]), std::stoull(words[column]),
                        quiet_machine_percent)) {
            words[column] = measured_words[column];
        }
    }
    return measured_words == words;
}

// The same for a port report; one that fills the page is judged by what has room there.
std::string objections_to_ports(const std::string &report, lines expected) {
    lines rows = tests::port_rows(report);
    std::string result;

    if (report.size() >= page_bytes - 1 && rows.size() < expected.size()) {
        rows.pop_back();
        expected.resize(rows.size());
    }
    if (rows.size() != expected.size()) {
        return "incomplete report:\n" + tests::plain(report);
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!port_row_agrees(rows[i], expected[i])) {
            result += "measured " + rows[i] + "\nexpected " + expected[i] + "\n";
        }
    }
    return result;
}

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

TEST(kernel, publishes_24_attributes_with_their_modes_and_pulls_in_the_siblings) {
    const lines modes = {"444 bw_bus",
                         "644 bw_emi",
                         "200 bw_emi_detail",
                         "644 bw_emi_lmt",
                         "644 bw_emi_ostd",
                         "644 bw_emi_timer",
                         "644 bw_larb",
                         "644 bw_scomm",
                         "644 bw_total",
                         "664 cpupri",
                         "444 cpupri_slot",
                         "644 debug_log_on",
                         "444 emi_setting",
                         "200 fake_eng_loop",
                         "644 fake_engine",
                         "644 fifo_status",
                         "200 fifo_status_clear",
                         "444 ip_config",
                         "200 larb_config",
                         "444 larb_module_list",
                         "644 larb_ostdl",
                         "200 mask",
                         "644 reg_op",
                         "200 simple_mon"};

    const ending guest = run({"--unloaded"}, R"(
        modprobe ovk_bw || exit
        cd /sys/bus/platform/drivers/ovk-bw
        echo @@attributes
        stat -c '%a %n' * | grep -vE ' (bind|unbind|uevent|module)$'
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

// What the commands must print. The judge says what is wrong with it, or nothing.
struct expectation {
    std::string name;
    std::string commands;
    std::function<std::string(const std::string &printed)> judge;
};

std::string unless_equal(const lines &printed, const lines &expected) {
    return printed == expected ? ""
                               : testing::PrintToString(printed) + " instead of " +
                                     testing::PrintToString(expected) + "\n";
}

// A report that fills the page has no newline at its end.
std::string script_of(const std::vector<expectation> &expected) {
    std::string script;
    for (const expectation &each : expected) {
        script += "echo @@" + each.name + "\n" + each.commands + "\necho\n";
    }
    return script;
}

}  // namespace

class chip : public testing::TestWithParam<chip_facts> {
  protected:
    static constexpr std::uint32_t total_ms = 100;
    static constexpr std::uint32_t port_ms = 20;

    void add_total(std::vector<expectation> &all) const {
        const auto total = tests::expect_total(tree_, traffic_, GetParam().dram_clock, total_ms);

        all.push_back({"total", enable_all(tree_, total_ms) + "cat bw_total",
                       [this, total](const std::string &report) {
                           return objections_to(report, tree_, total, quiet_machine_percent);
                       }});
    }

    void add_larbs_and_commons(std::vector<expectation> &all) const {
        const std::size_t modules = tests::sources_by_module(tree_).size();

        for (std::uint32_t id = 0; id < modules; ++id) {
            const std::string number = std::to_string(id);
            all.push_back({"larbs" + number, "echo " + number + " 20 >bw_larb; cat bw_larb",
                           [this, id](const std::string &report) {
                               return objections_to_ports(report, oracle_.larb_report(id));
                           }});
        }
        all.push_back(
            {"commons", "echo 20 >bw_scomm; cat bw_scomm", [this](const std::string &report) {
                 return objections_to_ports(report, oracle_.common_report());
             }});
    }

    // The chip itself times the EMI's monitors.
    void add_emi(std::vector<expectation> &all) const {
        const std::string usage = std::to_string(oracle_.bus_percent(GetParam().dram_clock)) + "%";

        all.push_back({"emi", "echo 20 >bw_emi; cat bw_emi", [this](const std::string &report) {
                           return unless_equal(tests::port_rows(report), oracle_.emi_total());
                       }});
        all.push_back(
            {"detail", "echo 1 >bw_emi_detail; cat bw_emi", [this](const std::string &report) {
                 return unless_equal(tests::port_rows(report), oracle_.emi_detail());
             }});
        all.push_back({"bus", "cat bw_bus", [usage](const std::string &report) {
                           return unless_equal(lines_of(report), {usage, ""});
                       }});
    }

    void add_monitors(std::vector<expectation> &all) const {
        const std::string count = std::to_string(monitors_of(tree_).size());

        all.push_back({"bound", "ls -d ../ovk-effi/*.effi_monitor* | wc -l",
                       [count](const std::string &printed) {
                           return unless_equal(lines_of(printed), {count, ""});
                       }});
    }

    // Carries them out in one boot, keeps those that are not met and returns why.
    std::string try_out(std::vector<expectation> &expected) const {
        const boot_files files;
        const ending guest = run(files, {"--soc", GetParam().soc}, script_of(expected));
        const soc::register_file registers(files.path("registers"));
        std::string objections;

        EXPECT_EQ(guest.status, 0) << guest.err;
        for (const devicetree::node *monitor : monitors_of(tree_)) {
            EXPECT_EQ(row_of(registers, *monitor), GetParam().effi_row) << monitor->name;
        }
        std::erase_if(expected, [&](const expectation &each) {
            const std::string objection = each.judge(guest.section(each.name));
            objections += objection.empty() ? "" : each.name + ": " + objection;
            return objection.empty();
        });
        return objections;
    }

    const devicetree::flat_tree tree_ = sim::chip_tree(GetParam().soc);
    const soc::scenario traffic_ = sim::find_scenario(GetParam().soc, "playback");
    const tests::port_oracle oracle_{tree_, traffic_, port_ms};
};

INSTANTIATE_TEST_SUITE_P(kernel, chip, testing::ValuesIn(chips()),
                         [](const auto &each) { return std::string(each.param.soc); });

// Further attempts are for a guest that was woken up late, which shows in single reports.
TEST_P(chip, has_its_monitors_configured_and_all_reports_show_the_traffic_put_in) {
    constexpr int attempts = 4;
    std::vector<expectation> expected;
    std::string objections;

    add_monitors(expected);
    add_total(expected);
    add_larbs_and_commons(expected);
    add_emi(expected);
    for (int attempt = 0; attempt < attempts && !expected.empty(); ++attempt) {
        objections = try_out(expected);
    }
    EXPECT_EQ(objections, "");
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
        EXPECT_EQ(row_of(registers, *monitor), chips()[2].effi_row) << monitor->name;
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
    constexpr unsigned any_excess = 100000;
    const auto tree = sim::chip_tree("zt430");
    const auto expected = tests::expect_total(tree, sim::find_scenario("zt430", "playback"),
                                              chips()[2].dram_clock, time_ms);

    const ending guest = run({}, "enable() {\n" + enable_all(tree, time_ms) + "}\n" + R"(
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
            sleep 1
            rmmod ovk_bw || exit
            wait
            modprobe ovk_bw || exit
            (cd $attributes && enable)
        done
        cat /tmp/all?
    )");

    EXPECT_EQ(guest.status, 0) << guest.err;
    const lines together = split_reports(guest.section("together"));
    EXPECT_EQ(together.size(), 8u);
    for (const std::string &report : together) {
        EXPECT_EQ(objections_to(report, tree, expected, any_excess), "");
    }
    const lines unloading = split_reports(guest.section("unloading"));
    EXPECT_GT(unloading.size(), 0u);
    for (const std::string &report : unloading) {
        EXPECT_EQ(objections_to(report, tree, expected, any_excess), "");
    }
}

namespace {

// A tree that misses something, or holds something wrong.
struct bad_tree {
    std::string nodes;  // path, or paths with commas
    std::string property;
    std::string text;  // in its place; empty: nothing
    lines errors;      // the last lines of the kernel log
    bool loads = false;
};

const std::string refused = "[OVK_BW]Failed to init ";
const lines no_list = {"[OVK_BW]set_module_list error", refused + "ovk_bw_measure_init"};

std::vector<bad_tree> bad_trees(const devicetree::flat_tree &tree) {
    std::vector<bad_tree> all;
    std::string modules;

    for (const char *name : {"bus_width", "dram_clock", "dram_penalty", "emi_clock", "smi_clock"}) {
        all.push_back({"/dram_config", name, "", {refused + "ovk_bw_setup_dram_config"}});
    }
    for (const char *name : {"emi_cnt", "emi_port_cnt", "smi_common_cnt"}) {
        all.push_back({"/emi_arch", name, "", {refused + "ovk_bw_setup_emi_arch_config"}});
    }
    for (const char *name : {"module-name", "domain", "module-id"}) {
        all.push_back({"/bw_modules/bw_gpu", name, "", no_list});
    }
    all.push_back({"/bw_modules/bw_bist", "alignment", "", no_list});
    all.push_back({"/bw_modules/bw_gpu", "module-name", "BIST", no_list});
    all.push_back(
        {"/bw_modules/bw_gop",
         "module-name",
         "GOPS",
         {"[OVK_BW]set set_bw_monitor_default_cfg error", refused + "ovk_bw_measure_init"}});
    all.push_back({"/fifo_monitors/fifo_gop0",
                   "riu-base",
                   "",
                   {"[OVK_BW]set_fifo_list error", refused + "ovk_bw_measure_init"}});
    for (const char *node : {"/bw_modules/bw_ref_emi", "/bw_modules/bw_sum"}) {
        all.push_back({node, "module-name", "OTHER", {"[OVK_BW]get_module_id_by_name fail"}, true});
    }
    for (const auto &node : tree.nodes()) {
        if (node->string("device_type") == "bw") {
            modules += (modules.empty() ? "" : ",") + node->path;
        }
    }
    all.push_back({modules, "device_type", "", {"[OVK_BW]no module list", no_list[0], no_list[1]}});
    return all;
}

// What the host kernel logs on that tree.
lines log_on_host(const devicetree::flat_tree &good, const bad_tree &bad) {
    devicetree::flat_tree tree = devicetree::flat_tree::from_blob(good.blob());
    std::istringstream paths(bad.nodes);
    for (std::string path; std::getline(paths, path, ',');) {
        tree = bad.text.empty()
                   ? tree.without_property(path, bad.property)
                   : tree.with_property(path, bad.property, bad.text + std::string(1, '\0'));
    }
    tests::rig host(std::move(tree));
    EXPECT_EQ(host.machine().load() == 0, bad.loads) << bad.nodes << " " << bad.property;
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
std::string load_on(const bad_tree &bad, const std::string &number) {
    const std::string replacement = bad.text.empty() ? "" : " text=" + bad.text;
    return "modprobe ovk-edit-tree nodes=" + bad.nodes + " property=" + bad.property + replacement +
           " || exit\necho @@modprobe" + number + R"(
        modprobe ovk_bw 2>&1 && rmmod ovk_bw
        dmesg -c >/dev/null
        ovk-session load 2>&1
        echo @@log)" +
           number + R"(
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
    const auto bad = bad_trees(tree);
    std::string commands;
    for (std::size_t i = 0; i < bad.size(); ++i) {
        commands += load_on(bad[i], std::to_string(i));
    }

    const ending guest = run({"--unloaded"}, commands);

    ASSERT_EQ(guest.status, 0) << guest.err << guest.out;
    for (std::size_t i = 0; i < bad.size(); ++i) {
        SCOPED_TRACE(bad[i].nodes + " " + bad[i].property + " " + bad[i].text);
        const std::string number = std::to_string(i);
        const lines log = module_log(guest.section_lines("log" + number));
        EXPECT_EQ(log, log_on_host(tree, bad[i]));
        for (const std::string &line : bad[i].errors) {
            EXPECT_EQ(std::count(log.begin(), log.end(), "<3>" + line), 1) << line;
        }
        const std::string refusal = guest.section("modprobe" + number);
        EXPECT_EQ(refusal.find("Operation not permitted") == std::string::npos, bad[i].loads)
            << refusal;
    }
}

// A node cannot be taken out of a live tree.
TEST(kernel, refuses_a_tree_without_a_mandatory_node) {
    for (const std::string node : {"dram_config", "emi_arch"}) {
        const boot_files files;
        write_file(files.path("tree.dtb"), sim::chip_tree("zt430").without_node("/" + node).blob());

        const ending guest = run(files, {"--dtb", files.path("tree.dtb"), "--unloaded"},
                                 "modprobe ovk_bw 2>&1; dmesg -r");

        EXPECT_EQ(guest.status, 0) << guest.err;
        EXPECT_NE(guest.out.find("Operation not permitted"), std::string::npos) << guest.out;
        const lines log = module_log(lines_of(guest.out));
        const std::string expected =
            "<3>" + refused + "ovk_bw_setup_" + node + (node == "emi_arch" ? "_config" : "");
        EXPECT_NE(std::find(log.begin(), log.end(), expected), log.end()) << expected;
    }
}

TEST(kernel, loads_without_channels_of_the_dram_controller) {
    const ending guest = run({"--dram-freq", ""}, "dmesg -r");

    EXPECT_EQ(guest.status, 0) << guest.err;
    const lines log = module_log(lines_of(guest.out));
    EXPECT_EQ(std::count(log.begin(), log.end(), "<3>[OVK_BW]Failed to fetch dramc info"), 1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "<6>chip dram clock:[3200]"), 1);
}

// Two processes: one tests in a loop until the other says that it is enough.
TEST(kernel, carries_settings_to_the_siblings_and_to_other_processes_and_says_what_was_refused) {
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
        echo @@loop
        echo 1 1 >fake_eng_loop
        (echo 1 80000000 1000 2 a5a5 >fake_engine; echo ended) >/tmp/looping &
        sleep 1
        cat /tmp/looping fake_engine
        echo 1 0 >fake_eng_loop
        wait
        cat /tmp/looping fake_engine
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
    EXPECT_EQ(tests::plain(guest.section("loop")),
              "Fake engine 0: NO RESULT\nFake engine 1: NO RESULT\n"
              "ended\nFake engine 0: NO RESULT\nFake engine 1: PASS\n");
}

}  // namespace lab
