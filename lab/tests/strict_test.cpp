// SPDX-License-Identifier: GPL-2.0-only
// On the kernel that lets allocations fail and looks for lost memory. See ./run kernel --build.
#include "lab/tests/guest.h"
#include "tests/attribute_list.h"

namespace lab {

namespace {

// Windows are short, so that the reports that take long have much to allocate and little to wait.
std::string all_operations() {
    std::string operations;
    for (const tests::attribute &each : tests::attribute_list()) {
        for (const char *text : each.texts) {
            operations += std::string("write ") + each.name + " " + hexadecimal(text) + "\n";
        }
        if (each.is_readable()) {
            operations += std::string("read ") + each.name + "\n";
        }
    }
    return operations;
}

}  // namespace

class strict : public guest {};

TEST_F(strict, every_allocation_of_every_read_write_and_load_may_fail) {
    if (release() != "strict") {
        GTEST_SKIP() << "allocations fail on the strict kernel only";
    }
    const std::string printed = run({"--timeout", "3000"}, R"(
        mount -t debugfs debugfs /sys/kernel/debug
        leaks=/sys/kernel/debug/kmemleak
        # Those of the kernel's own start.
        echo clear >$leaks
        echo N >/sys/kernel/debug/failslab/ignore-gfp-wait
        echo 0 >/sys/kernel/debug/failslab/verbose
        cat >/tmp/operations <<END
)" + all_operations() + R"(END
        ovk-session fail /tmp/operations || exit
        echo load >/tmp/load
        cd / && rmmod ovk_bw && ovk-session fail /tmp/load || exit
        modprobe ovk_bw || exit
        echo @@leaks
        # What is younger than five seconds is not looked at.
        sleep 6
        for scan in 1 2; do echo scan >$leaks; done
        cat $leaks
    )");

    EXPECT_NE(printed.find("\nload: "), std::string::npos) << printed;
    EXPECT_NE(printed.find("@@leaks"), std::string::npos) << printed;
    EXPECT_EQ(section(printed, "leaks"), "");
}

}  // namespace lab
