// SPDX-License-Identifier: GPL-2.0-only
// All attributes at once, from many processes. Built with ThreadSanitizer: besides the reports it
// is the memory accesses of module and host kernel that are under test.
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include "tests/attribute_list.h"
#include "tests/rig.h"

namespace tests {

namespace {

constexpr int processes = 4;  // readers, and as many writers
constexpr int operations = 2500;

// What was wrong, from all processes: a few different things.
class complaints {
  public:
    void add(const std::string &complaint) {
        const std::lock_guard lock(guard_);
        if (few_.size() < 5) {
            few_.insert(complaint);
        }
    }
    const std::set<std::string> &few() const { return few_; }

  private:
    std::mutex guard_;
    std::set<std::string> few_;
};

const attribute &any_attribute(std::mt19937 &random) {
    return attribute_list()[random() % attribute_list().size()];
}

void read_any(rig &r, std::mt19937 &random, complaints &all) {
    const attribute &target = any_attribute(random);

    if (!target.is_readable()) {
        return;
    }
    const auto read = r.machine().read(target.name);
    if (read.code < 0 || !target.is_complete(read.text)) {
        all.add("read " + std::string(target.name) + ": " + std::to_string(read.code) +
                ", not a whole report: " + read.text);
    }
}

void write_any(rig &r, std::mt19937 &random, complaints &all) {
    const attribute &target = any_attribute(random);

    if (!target.is_writable()) {
        return;
    }
    const std::string text = target.texts[random() % target.texts.size()];
    const long code = r.machine().write(target.name, text);
    if (code != static_cast<long>(text.size())) {
        all.add("write " + std::string(target.name) + " " + text + ": " + std::to_string(code));
    }
}

}  // namespace

TEST(storm, every_report_is_whole_every_text_is_taken_and_nothing_is_left_behind) {
    rig r("zt410");
    r.loaded().chip().set_scenario(sim::find_scenario("zt410", "playback"));
    std::vector<std::thread> threads;
    complaints all;

    for (unsigned seed = 1; seed <= processes; seed++) {
        for (const auto operation : {read_any, write_any}) {
            threads.emplace_back([seed, operation, &r, &all] {
                std::mt19937 random(seed);
                for (int i = 0; i < operations; i++) {
                    operation(r, random, all);
                }
            });
        }
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    r.machine().take_log();
    EXPECT_EQ(all.few(), std::set<std::string>{});
    EXPECT_EQ(r.peek("emi_dispatch0+0x100"), 0u);
    EXPECT_EQ(r.peek("emi_cen0+0x060"), 0u);
}

}  // namespace tests
