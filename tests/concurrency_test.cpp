// SPDX-License-Identifier: GPL-2.0-only
// Processes that meet in the module.
#include <future>
#include <thread>

#include "platform/host/services.h"
#include "tests/watched_bus.h"

namespace tests {

// The line has the selection at its printing, and the limit of the port that was read.
TEST(concurrency, a_readout_of_a_limit_names_the_port_that_is_selected_in_the_end) {
    watched_machine w(sim::chip_tree("zt420"), "larb3", 0x208);
    w.machine.write("larb_ostdl", "3 2\n");
    w.bus.poke(w.register_address, 32, 0x3f);
    w.bus.on_access = [&] {
        std::async(std::launch::async, [&] { w.machine.write("larb_ostdl", "1 5\n"); }).get();
    };
    EXPECT_EQ(w.machine.read("larb_ostdl").text, "larb id: 1, port id: 5, ostdl: 0x3f\033[K\n");
}

// While somebody else holds a lock, whoever needs it waits until it is killed, and whoever does not
// comes through.
TEST(concurrency, reports_exclude_each_other_and_limits_only_what_drives_the_EMI) {
    using names = std::vector<const char *>;
    rig r("zt410");
    r.loaded();
    const auto use = [&r](const std::string &attribute) {
        return attribute.starts_with("bw_emi_") ? r.machine().write(attribute, "0 0 1 1\n")
                                                : r.read_code(attribute);
    };

    for (const auto &[held, waiting, passing] :
         {std::tuple{&ovk_measurement_mutex,
                     names{"bw_total", "bw_larb", "bw_scomm", "bw_emi", "bw_bus"},
                     names{"bw_emi_lmt", "bw_emi_timer", "bw_emi_ostd"}},
          {&ovk_emi_mutex,
           {"bw_total", "bw_emi", "bw_bus", "bw_emi_lmt", "bw_emi_timer", "bw_emi_ostd"},
           {"bw_larb", "bw_scomm"}}}) {
        ASSERT_EQ(ovk_kernel_mutex_lock_killable(held), 0);
        for (const char *attribute : waiting) {
            EXPECT_EQ(r.killed([&] { return use(attribute); }), -4) << attribute;
        }
        for (const char *attribute : passing) {
            EXPECT_GT(std::async(std::launch::async, use, attribute).get(), 0) << attribute;
        }
        ovk_kernel_mutex_unlock(held);
    }
}

// Several passes have been started when the command has been written that often.
static void wait_for_passes(rig &r) {
    std::size_t starts = 0;

    while (starts < 3) {
        for (const std::string &access : r.trace()) {
            starts += access.ends_with("+0x000 0x00000009") ? 1 : 0;
        }
        std::this_thread::yield();
    }
}

TEST(concurrency, a_software_loop_ends_with_its_flag_with_any_signal_and_with_the_module) {
    const std::function<void(rig &)> ends[] = {
        [](rig &r) { r.write("fake_eng_loop", "1 0\n"); },
        [](rig &r) { r.machine().interrupt_handlers(); },
        [](rig &r) { r.machine().kill_waiters(); },
        [](rig &r) { EXPECT_EQ(r.machine().unload(), 0); },
    };
    for (const auto &end : ends) {
        rig r("zt410");
        r.loaded();
        r.write("fake_eng_loop", "1 1\n");
        r.machine().set_tracing(true);
        auto looping = std::async(std::launch::async, [&r] {
            return r.machine().write("fake_engine", "1 80000000 1000 2 a5a5\n");
        });
        wait_for_passes(r);
        end(r);
        EXPECT_EQ(looping.get(), 23);
        EXPECT_EQ(r.peek("miu2gmc1+0x000"), 0u);
    }
}

}  // namespace tests
