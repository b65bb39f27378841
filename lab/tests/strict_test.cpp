// SPDX-License-Identifier: GPL-2.0-only
// On the kernel that lets allocations fail and looks for lost memory. See ./run kernel --build.
#include <gtest/gtest.h>

#include <cstdio>

#include "lab/tests/guest.h"
#include "tests/attribute_list.h"

namespace lab {

namespace {

std::string hexadecimal(const std::string &text) {
    std::string digits;
    for (const char each : text) {
        char byte[3];
        std::snprintf(byte, sizeof(byte), "%02x", static_cast<unsigned char>(each));
        digits += byte;
    }
    return digits;
}

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

TEST(strict, every_allocation_of_every_read_write_and_load_may_fail) {
    if (release() != "strict") {
        GTEST_SKIP() << "allocations fail on the strict kernel only";
    }
    const ending guest = run({"--timeout", "3000"}, R"(
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

    EXPECT_EQ(guest.status, 0) << guest.err << guest.out;
    EXPECT_NE(guest.out.find("\nload: "), std::string::npos) << guest.out;
    EXPECT_EQ(guest.section("leaks"), "");
    EXPECT_NE(guest.out.find("@@leaks"), std::string::npos) << guest.out;
}

}  // namespace lab
