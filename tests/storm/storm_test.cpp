// SPDX-License-Identifier: GPL-2.0-only
// All attributes at once, from many processes. Built with ThreadSanitizer: besides the reports it
// is the memory accesses of module and host kernel that are under test.
#include <random>
#include <thread>

#include "tests/attribute_list.h"
#include "tests/rig.h"

namespace tests {

namespace {

constexpr unsigned processes = 8;  // every other one writes
constexpr int operations = 2500;

// What is wrong; "" nothing.
std::string read_wrongly(rig &r, const attribute &target) {
    const auto read = r.machine().read(target.name);

    return !target.is_readable() || (read.code >= 0 && target.is_complete(read.text))
               ? ""
               : "read " + std::string(target.name) + ": " + std::to_string(read.code) +
                     ", not a whole report: " + read.text;
}

std::string written_wrongly(rig &r, const attribute &target, std::mt19937 &random) {
    const auto &texts = target.texts;
    const std::string text = target.is_writable() ? texts[random() % texts.size()] : "";
    const long code = text.empty() ? 0 : r.machine().write(target.name, text);

    return code == static_cast<long>(text.size())
               ? ""
               : "write " + std::string(target.name) + " " + text + ": " + std::to_string(code);
}

}  // namespace

TEST(storm, every_report_is_whole_every_text_is_taken_and_nothing_is_left_behind) {
    rig r("zt410");
    r.loaded().chip().set_scenario(sim::find_scenario("zt410", "playback"));
    std::vector<std::thread> threads;
    std::vector<std::string> wrong(processes);

    for (unsigned process = 0; process < processes; process++) {
        threads.emplace_back([process, &r, &wrong] {
            std::mt19937 random(process);
            for (int i = 0; i < operations && wrong[process].empty(); i++) {
                const attribute &target = attribute_list()[random() % attribute_list().size()];
                wrong[process] =
                    process % 2 == 0 ? read_wrongly(r, target) : written_wrongly(r, target, random);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    r.machine().take_log();
    EXPECT_EQ(wrong, std::vector<std::string>(processes));
    EXPECT_EQ(r.peek("emi_dispatch0+0x100"), 0u);
    EXPECT_EQ(r.peek("emi_cen0+0x060"), 0u);
}

}  // namespace tests
