// SPDX-License-Identifier: GPL-2.0-only
// Settings are saved and restored; what counts is what the chip's registers hold.
#include <gtest/gtest.h>

#include <csignal>
#include <iostream>
#include <random>

#include "ovk/base/failure.h"
#include "ovk/base/interrupt.h"
#include "ovk/qos/restore.h"
#include "ovk/report/take.h"
#include "ovk/tests/chip_source.h"

namespace ovk::tests {

namespace {

using registers = std::map<std::string, std::uint32_t>;

std::string hex(std::uint64_t value) {
    std::ostringstream text;
    text << std::hex << value;
    return text.str();
}

void add(registers &to, chip_source &of, const std::string &block, std::uint32_t first,
         std::uint32_t last) {
    for (std::uint32_t offset = first; offset <= last; offset += 4) {
        const std::string place = block + "+0x" + hex(offset);
        to[place] = of.peek(place);
    }
}

// All that limits, prefers or masks anybody, and the switch that makes a write reach all channels.
registers settings_of(chip_source &of) {
    registers all;
    for (const auto &node : of.tree().nodes()) {
        const std::string &name = node->name;
        if (name.starts_with("emi_cen")) {
            add(all, of, name, 0xd0, 0xdc);
            add(all, of, name, 0x100, 0x1bc);
        } else if (name.starts_with("emi_dispatch")) {
            add(all, of, name, 0x100, 0x104);
        } else if (name.starts_with("larb")) {
            add(all, of, name, 0x78, 0x7c);
            add(all, of, name, 0x200, 0x27c);
        } else if (name == "cpu_pri") {
            add(all, of, name, 0x18, 0x48);
        }
    }
    return all;
}

std::string selections_of(chip_source &of) {
    return of.read("larb_ostdl").text + parse_larb(take_reading(of, "bw_larb")).module.value() +
           parse_emi(take_reading(of, "bw_emi")).view.value();
}

// Writes by lot, of which the module refuses some.
class tuner {
  public:
    explicit tuner(chip_source &to) : to_(to), emi_(parse_emi(take_reading(to, "bw_emi"))) {
        larb_selector selector(to);
        for (const larb_module &module : selector.ports().larb_modules) {
            for (const larb_figures &larb : selector.take(*module.id).larbs) {
                for (const larb_port_figures &port : larb.ports) {
                    shown_.push_back(" " + std::to_string(*larb.larb) + " " +
                                     std::to_string(*port.port) + " ");
                }
            }
        }
        selector.put_back();
    }

    void write_some(int count) {
        for (int i = 0; i < count; ++i) {
            const std::string emi = std::to_string(up_to(3)) + " " + std::to_string(up_to(12));
            const std::string way = " " + std::to_string(up_to(1)) + " ";
            to_.write("bw_emi_lmt", emi + " " + hex(up_to(0x3f)));
            to_.write("bw_emi_timer", emi + way + hex(up_to(0xff)));
            to_.write("bw_emi_ostd", emi + way + hex(up_to(0xff)));
            to_.write("larb_config", "0 " + std::to_string(up_to(16)) + " " +
                                         std::to_string(up_to(31)) + " " + hex(up_to(0x3f)));
            const std::string &port = shown_.at(up_to(std::uint32_t(shown_.size()) - 1));
            to_.write("larb_config",
                      std::to_string(1 + up_to(1)) + port + std::to_string(up_to(1)));
        }
    }

    void switch_range(int scope, int mode) {
        to_.write("cpupri", std::to_string(mode) + " " + std::to_string(scope) + " 0x" +
                                hex(up_to(UINT32_MAX)) + "000 0x" + hex(1 + up_to(0xffff)) + "000");
    }

  private:
    std::uint32_t up_to(std::uint32_t most) { return std::uint32_t(engine_() % (most + 1ull)); }

    chip_source &to_;
    emi_report emi_;
    std::vector<std::string> shown_;  // " LARB PORT " of those whose priorities a report shows
    std::mt19937 engine_{7};
};

// What it says when it goes wrong; empty: it did not.
std::string carry_out_with(chip_source &chip, const restore_plan &plan, exit_status expected) {
    try {
        carry_out(chip, plan);
        return "";
    } catch (const failure &error) {
        EXPECT_EQ(error.status(), expected) << error.what();
        return error.what();
    }
}

bool has(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

class qos_restore : public testing::Test {
  protected:
    // Four settings away from those of the file, of all kinds.
    restore_plan small_plan() {
        chip.write("larb_ostdl", "1 2");
        chip.write("cpupri", "2 1 0x40000000 0x2000");
        const qos_file saved = describe_settings(chip);
        chip.write("bw_emi_lmt", "0 2 11");
        chip.write("bw_emi_ostd", "0 3 1 a5");
        chip.write("larb_config", "0 3 1 22");
        chip.write("cpupri", "2 1 0x50000000 0x1000");
        return plan_restore(chip, saved, 2);
    }

    chip_source chip{"zt430"};
};

}  // namespace

// Scope 2 is off at first: nothing shows its range, and what has been written there stays.
TEST(qos, restore_after_random_writes_makes_the_registers_equal_again) {
    for (const char *soc : {"zt410", "zt420", "zt430", "zt440"}) {
        SCOPED_TRACE(soc);
        chip_source chip(soc);
        tuner lots(chip);
        chip.write("larb_ostdl", "1 1");
        lots.write_some(60);
        lots.switch_range(0, 1);
        lots.switch_range(1, 2);
        const registers before = settings_of(chip);
        const std::string selected = selections_of(chip);
        const qos_file saved = describe_settings(chip);
        EXPECT_EQ(settings_of(chip), before);

        lots.write_some(200);
        lots.switch_range(0, 1);
        chip.write("cpupri", "0 1");
        lots.switch_range(2, 1);
        ASSERT_NE(settings_of(chip), before);
        const restore_plan plan = plan_restore(chip, saved, 2);
        EXPECT_GT(plan.found.changes.size(), 100u);
        carry_out(chip, plan);

        registers after = settings_of(chip);
        registers expected = before;
        for (const char *place : {"cpu_pri+0x3c", "cpu_pri+0x40", "cpu_pri+0x44", "cpu_pri+0x48"}) {
            after.erase(place);
            expected.erase(place);
        }
        EXPECT_EQ(after, expected);
        EXPECT_EQ(selections_of(chip), selected);
        EXPECT_TRUE(plan_restore(chip, saved, 2).found.changes.empty());
    }
}

// Writes of selections count, too; three of them, which put selections back, are tried again.
TEST_F(qos_restore, leaves_everything_as_it_was_whichever_write_fails) {
    const restore_plan plan = small_plan();
    const registers before = settings_of(chip);
    const std::string selected = selections_of(chip);
    ASSERT_EQ(plan.found.changes.size(), 4u);
    std::size_t recovered = 0;
    std::size_t n = 0;

    for (bool all = false; !all; ++n) {
        chip.writes = 0;
        chip.fails = [n](std::size_t write) { return write == n + 1; };
        const std::string said = carry_out_with(chip, plan, exit_status::refused);
        all = chip.writes <= n;
        if (said.empty()) {
            ++recovered;
            chip.fails = nullptr;
            carry_out(chip,
                      {plan.wanted, plan.before, 2, difference_of(plan.wanted, plan.before, 2)});
        } else {
            EXPECT_TRUE(has(said, "; everything is as it was")) << said;
        }
        ASSERT_EQ(settings_of(chip), before) << n;
        ASSERT_EQ(selections_of(chip), selected) << n;
    }
    EXPECT_GT(n, 5u * 32);  // five larbs are read back
    EXPECT_EQ(recovered, 3u + 1);
}

// Writes fail, or a register does not keep what is written to it.
TEST_F(qos_restore, puts_everything_back_or_says_what_it_could_not) {
    const restore_plan plan = small_plan();
    const registers before = settings_of(chip);
    const std::function<bool(std::size_t)> none = [](std::size_t) { return false; };
    const struct {
        std::function<bool(std::size_t)> fails;
        std::size_t loses;  // the write before which a register changes by itself
        exit_status status;
        const char *says;
    } troubles[] = {
        {[](std::size_t write) { return write == 3 || write == 5; }, 0, exit_status::refused,
         "; everything is as it was"},
        {none, 8, exit_status::refused,
         "larb 3 port 1 outstanding_limit: 0x21 -> 0x0; everything is as it was"},
        {[](std::size_t write) { return write >= 2; }, 0, exit_status::unreachable,
         "bw_emi_ostd: write: Input/output error"},
    };

    for (const auto &each : troubles) {
        EXPECT_EQ(settings_of(chip), before) << each.says;
        chip.writes = 0;
        chip.fails = each.fails;
        chip.before_write = [&] {
            if (chip.writes == each.loses) {
                chip.poke("larb3+0x204", 0x21);
            }
        };
        const std::string said = carry_out_with(chip, plan, each.status);
        EXPECT_TRUE(has(said, each.says)) << said;
        const bool known = has(said, "; everything is as it was");
        EXPECT_NE(known, has(said, "whether everything is as it was can't be read")) << said;
    }
}

TEST_F(qos_restore, puts_everything_back_when_it_is_interrupted) {
    const restore_plan plan = small_plan();
    const registers before = settings_of(chip);
    const auto interrupted_at = [&](int write) {
        watch_for_interrupts();
        chip.before_write = [write, count = 0]() mutable {
            if (++count == write) {
                raise(SIGINT);
            }
            throw_if_interrupted();  // as a source does that waits for an answer
        };
        std::cerr << carry_out_with(chip, plan, exit_status::interrupted);
        std::exit(settings_of(chip) == before ? 130 : 1);
    };

    for (const int write : {1, 3, 5}) {
        EXPECT_EXIT(interrupted_at(write), testing::ExitedWithCode(130),
                    "interrupted; everything is as it was");
    }
}

TEST_F(qos_restore, names_what_can_not_be_undone_and_does_it_last) {
    const qos_file saved = describe_settings(chip);
    chip.poke("larb0+0x200", 0x80);
    chip.write("larb_config", "0 3 1 22");

    const restore_plan plan = plan_restore(chip, saved, 1);
    ASSERT_EQ(plan.found.changes.size(), 2u);
    EXPECT_EQ(words_for(plan.found.changes.at(1)), "larb 0 port 0 outstanding_limit: 0x80 -> 0x0");
    EXPECT_TRUE(plan.found.changes.at(1).back.empty());
    EXPECT_FALSE(plan.found.changes.at(0).back.empty());
    carry_out(chip, plan);
    EXPECT_EQ(chip.peek("larb0+0x200"), 0u);
}

// What a restore of the file is refused with; empty: it is not.
std::string refusal_of(chip_source &chip, const qos_file &file) {
    try {
        check_plan(plan_restore(chip, file, 1));
        return "";
    } catch (const failure &error) {
        EXPECT_EQ(error.status(), exit_status::refused);
        return error.what();
    }
}

TEST_F(qos_restore, refuses_what_it_can_not_restore_before_it_writes) {
    const qos_file saved = describe_settings(chip);
    const registers before = settings_of(chip);
    const auto with = [&](const setting_key &key, const figure &value) {
        qos_file file = saved;
        file.settings.ports[key] = value;
        return file;
    };
    qos_file crooked = saved;
    crooked.settings.cpu.at(0) = {true, address_range{0x1000, 0x27ff}};
    const struct {
        qos_file file;
        const char *says;
    } files[] = {
        {with({true, 1, 2, "outstanding_limit"}, 0x40), "no attribute takes this: larb 1 port 2"},
        {with({false, 0, 2, "read_timer"}, 0x100), "no attribute takes this: EMI channel 0 port 2"},
        {crooked, "no attribute takes this: CPU range of scope 0: off -> 0x1000-0x27ff"},
        {with({true, 52, 2, "outstanding_limit"}, 1), "has not: larb 52 port 2"},
        {with({true, 0, 30, "force_ultra"}, 1), "can't be read now: larb 0 port 30"},
    };

    for (const auto &each : files) {
        const std::string said = refusal_of(chip, each.file);
        EXPECT_TRUE(has(said, each.says)) << said;
    }
    EXPECT_EQ(refusal_of(chip, with({true, 1, 2, "force_ultra"}, std::nullopt)), "");
    EXPECT_EQ(settings_of(chip), before);
}

TEST(qos, restore_takes_the_file_of_another_chip_only_when_it_fits) {
    const auto file_of = [](const char *soc, const char *name) {
        chip_source chip(soc);
        qos_file file = describe_settings(chip);
        file.facts["chip_compatible"] = name;
        return file;
    };
    const struct {
        qos_file file;
        const char *soc;
        const char *says;
    } cases[] = {
        {file_of("zt410", "quorix,zt411"), "zt410", ""},
        {file_of("zt410", ""), "zt410", ""},
        {file_of("zt420", "quorix,zt420"), "zt410",
         "the file is of quorix,zt420, and this is quorix,zt410, which has more: EMI channel 1 "
         "port 0"},
        {file_of("zt410", "quorix,zt410"), "zt420",
         "the file, of quorix,zt410, has what this device has not: EMI channel 1"},
    };

    for (const auto &each : cases) {
        chip_source chip(each.soc);
        const std::string said = refusal_of(chip, each.file);
        EXPECT_TRUE(has(said, each.says) && said.empty() == (*each.says == 0)) << said;
    }
}

}  // namespace ovk::tests
