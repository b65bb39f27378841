// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "ovk/base/failure.h"
#include "ovk/source/kernel_messages.h"
#include "ovk/source/source.h"
#include "ovk/tests/program.h"
#include "ovk/tests/scratch.h"

namespace ovk::tests {

TEST(sysfs_source, reads_and_writes_the_files_of_its_directory_as_they_are) {
    const scratch files;
    const std::string bytes("\xff\r\n\0 x", 6);
    files.put("bw_total", bytes);
    files.put("simple_mon", "before, and longer");
    files.put("uevent", "");
    std::filesystem::create_symlink("/dev/full", files.path("full"));
    std::filesystem::create_directory(files.path("folder"));
    const auto source = open_source("sysfs:" + files.path());

    const answer came = source->read("bw_total");
    EXPECT_EQ(came.text, bytes);
    EXPECT_LE(came.start_ns, came.end_ns);
    EXPECT_LE(came.end_ns, source->now());
    EXPECT_EQ(source->write("simple_mon", bytes).error, 0);
    EXPECT_EQ(files.content("simple_mon"), bytes);
    EXPECT_EQ(source->write("full", "1").error, ENOSPC);
    EXPECT_EQ(source->read("folder").error, EISDIR);
    EXPECT_EQ(source->read("none").error, ENOENT);
    EXPECT_EQ(source->write("none", "1").error, ENOENT);
    EXPECT_FALSE(std::filesystem::exists(files.path("none")));
    EXPECT_EQ(source->attributes(), (std::vector<std::string>{"bw_total", "simple_mon"}));
    EXPECT_FALSE(source->fact("kernel_release").empty());
}

TEST(sysfs_source, takes_no_path_for_an_attribute_and_no_file_for_a_directory) {
    const scratch files;
    files.put("a", "");
    for (const char *name : {"", "../a", "a b", "$(a)", "a'"}) {
        EXPECT_EQ(ovk_with({"-s", "sysfs:" + files.path(), "read", "--", name}).status, 2) << name;
    }
    EXPECT_EQ(ovk_with({"-s", "sysfs:" + files.path("a"), "read", "a"}).status, 3);
    EXPECT_EQ(
        ovk_with({"-s", "sysfs:" + files.path(), "read", "b"}).err,
        "ovk: sysfs:" + files.path() + ": b: read: No such file or directory; there are: a\n");
}

TEST(kernel_messages, are_the_texts_of_the_kernels_own_records) {
    EXPECT_EQ(message_of_record("3,1,5,-;[OVK_BW]Wrong Argument!!\n SUBSYSTEM=x\n"),
              "[OVK_BW]Wrong Argument!!");
    EXPECT_EQ(message_of_record("6,1,5,-,caller=T1;a;b \\x1b[0m\\\\x \\xzz\n"),
              "a;b \x1b[0m\\\\x \\xzz");
    EXPECT_EQ(message_of_record("14,1,5,-;from a program\n"), "");
    EXPECT_EQ(message_of_record("no record"), "");
}

}  // namespace ovk::tests
