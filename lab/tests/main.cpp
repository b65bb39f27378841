// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

namespace {

constexpr int exit_skipped = 77;

bool have_emulator() {
    return std::system("command -v qemu-system-aarch64 >/dev/null 2>&1") == 0;
}

}  // namespace

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!have_emulator() && std::getenv("CI") == nullptr) {
        std::cerr << "SKIPPED: there is no qemu-system-aarch64 on this machine\n";
        return exit_skipped;
    }
    return RUN_ALL_TESTS();
}
