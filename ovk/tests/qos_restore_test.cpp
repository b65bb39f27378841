// SPDX-License-Identifier: GPL-2.0-only
// Settings are saved and restored; what counts is what the chip's registers hold.
#include <iostream>
#include <random>

#include "ovk/base/interrupt.h"
#include "ovk/qos/restore.h"
#include "ovk/report/take.h"
#include "ovk/tests/chip_source.h"
#include "ovk/tests/program.h"
#include "tests/port_chip.h"

namespace ovk::tests {

namespace {

using registers = std::map<std::string, std::uint32_t>;

template <class... values>
std::string joined(values &&...each) {
    std::ostringstream text;
    (text << ... << each);
    return text.str();
}

// All that limits, prefers or masks anybody, and the switch that makes a write reach all channels.
registers settings_of(chip_source &chip) {
    static constexpr struct {
        const char *block;
        std::uint32_t first;
        std::uint32_t last;
    } kinds[] = {{"emi_cen", 0xd0, 0xdc}, {"emi_cen", 0x100, 0x1bc}, {"emi_dispatch", 0x100, 0x104},
                 {"larb", 0x78, 0x7c},    {"larb", 0x200, 0x27c},    {"cpu_pri", 0x18, 0x48}};
    registers all;
    for (const auto &node : chip.tree().nodes()) {
        for (const auto &[block, first, last] : kinds) {
            for (std::uint32_t at = first; node->name.starts_with(block) && at <= last; at += 4) {
                const std::string place = joined(node->name, "+0x", std::hex, at);
                all[place] = chip.rig().peek(place);
            }
        }
    }
    return all;
}

// Writes by lot, of which the module refuses some.
class tuner {
  public:
    explicit tuner(chip_source &to) : to_(to) {}

    void write_some(int count) {
        const auto shown = to_.larb_ports();  // whose priorities a report shows
        for (int i = 0; i < count; ++i) {
            const auto &[larb, port] = shown.at(up_to(shown.size() - 1));
            const std::string emi = joined(up_to(3), " ", up_to(12), " ");
            const std::string way = joined(up_to(1), " ");
            to_.set(joined("bw_emi_lmt ", emi, std::hex, up_to(0x3f)));
            to_.set(joined("bw_emi_timer ", emi, way, std::hex, up_to(0xff)));
            to_.set(joined("bw_emi_ostd ", emi, way, std::hex, up_to(0xff)));
            to_.set(
                joined("larb_config 0 ", up_to(16), " ", up_to(31), " ", std::hex, up_to(0x3f)));
            to_.set(joined("larb_config ", 1 + up_to(1), " ", larb, " ", port, " ", up_to(1)));
        }
    }

    void switch_range(int scope, int mode) {
        to_.set(joined("cpupri ", mode, " ", scope, std::hex, " 0x", up_to(UINT32_MAX), "000 0x",
                       1 + up_to(0xffff), "000"));
    }

  private:
    std::uint64_t up_to(std::uint64_t most) { return engine_() % (most + 1); }

    chip_source &to_;
    std::mt19937 engine_{7};
};

// Four settings away from those of the file, of all kinds.
class qos_restore : public testing::Test {
  protected:
    restore_plan small_plan() {
        chip.set("larb_ostdl 1 2");
        chip.set("cpupri 2 1 0x40000000 0x2000");
        const qos_file saved = describe_settings(chip);
        for (const char *setting : {"bw_emi_lmt 0 2 11", "bw_emi_ostd 0 3 1 a5",
                                    "larb_config 0 1 1 22", "cpupri 2 1 0x50000000 0x1000"}) {
            chip.set(setting);
        }
        return plan_restore(chip, saved, 2);
    }

    outcome restored_with(std::function<int(std::size_t)> on_write) {
        chip.writes = 0;
        chip.on_write = std::move(on_write);
        return outcome_of([&] { carry_out(chip, plan); });
    }

    chip_source chip{::tests::port_chip({"3", "1"}), "", ""};
    const restore_plan plan = small_plan();
    const registers before = settings_of(chip);
};

}  // namespace

// Scope 2 is off at first: nothing shows its range, and what has been written there stays.
TEST(qos, restore_after_random_writes_makes_the_registers_equal_again) {
    for (const std::string &soc : sim::chip_names()) {
        SCOPED_TRACE(soc);
        chip_source chip(soc);
        tuner lots(chip);
        const auto shown_settings = [&] {
            registers all = settings_of(chip);
            for (const char *place : {"0x3c", "0x40", "0x44", "0x48"}) {
                all.erase(std::string("cpu_pri+") + place);
            }
            return all;
        };
        chip.set("larb_ostdl 1 1");
        lots.write_some(60);
        lots.switch_range(0, 1);
        lots.switch_range(1, 2);
        const registers before = settings_of(chip);
        const registers expected = shown_settings();
        const lines selected = chip.selections();
        const qos_file saved = describe_settings(chip);
        EXPECT_EQ(settings_of(chip), before);

        lots.write_some(200);
        lots.switch_range(0, 1);
        chip.set("cpupri 0 1");
        lots.switch_range(2, 1);
        const restore_plan plan = plan_restore(chip, saved, 2);
        EXPECT_GT(plan.found.changes.size(), 100u);
        carry_out(chip, plan);

        EXPECT_EQ(shown_settings(), expected);
        EXPECT_EQ(chip.selections(), selected);
        EXPECT_TRUE(plan_restore(chip, saved, 2).found.changes.empty());
    }
}

// Writes of selections count, too; three of them, which put selections back, are tried again.
TEST_F(qos_restore, leaves_everything_as_it_was_whichever_write_fails) {
    const lines selected = chip.selections();
    ASSERT_EQ(plan.found.changes.size(), 4u);
    std::size_t recovered = 0;
    std::size_t n = 0;

    for (bool all = false; !all; ++n) {
        const outcome came =
            restored_with([n](std::size_t number) { return number == n + 1 ? EIO : 0; });
        all = chip.writes <= n;
        if (came.status == 0) {
            ++recovered;
            chip.on_write = [](std::size_t) { return 0; };
            carry_out(chip,
                      {plan.wanted, plan.before, 2, difference_of(plan.wanted, plan.before, 2)});
        } else {
            EXPECT_TRUE(ends(came, 5, "; everything is as it was"));
        }
        ASSERT_EQ(settings_of(chip), before) << n;
        ASSERT_EQ(chip.selections(), selected) << n;
    }
    EXPECT_GT(n, 3u * 32);  // three larbs are read back
    EXPECT_EQ(recovered, 3u + 1);
}

TEST_F(qos_restore, switches_a_range_off_before_it_is_another) {
    const change &range = plan.found.changes.at(3);

    ASSERT_EQ(range.writes.size() + range.back.size(), 4u);
    EXPECT_EQ(range.writes[0].text, "0 1");
    EXPECT_EQ(range.writes[1].text, "2 1 0x40000000 0x2000");
    EXPECT_EQ(range.back[1].text, "2 1 0x50000000 0x1000");
}

// The third write fails, and then one that puts the second back.
TEST_F(qos_restore, tries_again_to_put_back_what_fails) {
    const auto fails = [](std::size_t number) { return number == 3 || number == 5 ? EIO : 0; };

    EXPECT_TRUE(ends(restored_with(fails), 5, "; everything is as it was"));
    EXPECT_EQ(settings_of(chip), before);
}

TEST_F(qos_restore, says_what_it_could_not_put_back) {
    const outcome came = restored_with([](std::size_t number) { return number >= 2 ? EIO : 0; });

    EXPECT_TRUE(ends(came, 3, "chip: bw_emi_ostd: write: Input/output error"));
    EXPECT_TRUE(has(came.err, "whether everything is as it was can't be read"));
}

// A register that does not keep what is written to it.
TEST_F(qos_restore, puts_everything_back_when_something_else_is_read_back) {
    const outcome came = restored_with([&](std::size_t number) {
        if (number == 8) {
            chip.rig().poke("larb1+0x204", 0x21);
        }
        return 0;
    });

    EXPECT_TRUE(
        ends(came, 5, "larb 1 port 1 outstanding_limit: 0x21 -> 0x0; everything is as it was"));
    EXPECT_EQ(settings_of(chip), before);
}

TEST_F(qos_restore, puts_everything_back_when_it_is_interrupted) {
    const auto interrupted_at = [&](std::size_t write) {
        watch_for_interrupts();
        const outcome came = restored_with([write](std::size_t number) {
            if (number == write) {
                raise(SIGINT);
            }
            throw_if_interrupted();  // as a source does that waits for an answer
            return 0;
        });
        std::cerr << came.err;
        std::exit(settings_of(chip) == before ? came.status : 1);
    };

    for (const std::size_t write : {1u, 3u, 5u}) {
        EXPECT_EXIT(interrupted_at(write), testing::ExitedWithCode(130),
                    "interrupted; everything is as it was");
    }
}

TEST(qos, restore_names_what_can_not_be_undone_and_does_it_last) {
    chip_source chip("zt430");
    const qos_file saved = describe_settings(chip);
    chip.rig().poke("larb0+0x200", 0x80);
    chip.set("larb_config 0 1 1 22");

    const restore_plan plan = plan_restore(chip, saved, 1);
    ASSERT_EQ(plan.found.changes.size(), 2u);
    EXPECT_EQ(words_for(plan.found.changes[1]), "larb 0 port 0 outstanding_limit: 0x80 -> 0x0");
    EXPECT_TRUE(plan.found.changes[1].back.empty());
    EXPECT_FALSE(plan.found.changes[0].back.empty());
    carry_out(chip, plan);
    EXPECT_EQ(chip.rig().peek("larb0+0x200"), 0u);
}

}  // namespace ovk::tests
