// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/source.h"
#include "ovk/source/kernel_messages.h"
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
    const std::string source = "sysfs:" + files.path();
    for (const char *name : {"", "../a", "a b", "$(a)", "a'"}) {
        EXPECT_EQ(ovk_with({"-s", source, "read", "--", name}).status, 2) << name;
    }
    EXPECT_EQ(ovk_with("-s " + source + "a read a").status, 3);
    EXPECT_EQ(ovk_with("-s " + source + " read b").err,
              "ovk: " + source + ": b: read: No such file or directory; there are: a\n");
}

TEST(kernel_messages, are_the_texts_of_the_kernels_own_records) {
    EXPECT_EQ(message_of_record("3,1,5,-;[OVK_BW]Wrong Argument!!\n SUBSYSTEM=x\n"),
              "[OVK_BW]Wrong Argument!!");
    EXPECT_EQ(message_of_record("6,1,5,-,caller=T1;a;b \\x1b[0m\\\\x \\xzz\n"),
              "a;b \x1b[0m\\\\x \\xzz");
    EXPECT_EQ(message_of_record("14,1,5,-;from a program\n"), "");
    EXPECT_EQ(message_of_record("no record"), "");
}

TEST(sim_source, reads_and_writes_on_virtual_time_and_hands_the_log_out_once) {
    const auto source = open_source("sim:zt410,overload");

    EXPECT_EQ(source->log(), lines{});
    EXPECT_EQ(source->write("bw_total", "0 1 30 0").error, 0);
    EXPECT_EQ(source->log(), lines{"[OVK_BW]set m_id: 0, enable: 1, time: 30 ms, proc: 0"});
    EXPECT_EQ(source->log(), lines{});
    const answer came = source->read("bw_total");
    EXPECT_NE(came.text.find("Status: "), std::string::npos);
    EXPECT_GE(came.end_ns - came.start_ns, 30'000'000);
    EXPECT_EQ(source->now(), came.end_ns);
    source->wait_until(came.end_ns + 3'600'000'000'000);
    EXPECT_EQ(source->now(), came.end_ns + 3'600'000'000'000);
    EXPECT_EQ(source->fact("chip_compatible"), "quorix,zt410");
    EXPECT_EQ(source->read("bw_nothing").error, ENOENT);
    EXPECT_EQ(source->write("cpupri", "1 3 0x1000 0x1000").error, EPERM);
}

TEST(source, that_can_not_be_opened_is_not_reachable_or_has_no_such_name) {
    for (const std::string name : {"sim:zt999", "sim:zt430,nothing", "sim:/no/such.dts"}) {
        EXPECT_EQ(ovk_with("-s " + name + " read bw_bus").status, 3) << name;
    }
    for (const std::string name :
         {"sim", "nonsense:1", "ssh:-oProxyCommand=false", "adb:-e", "ssh:", "exec:"}) {
        EXPECT_EQ(ovk_with("-s " + name + " read bw_bus").status, 2) << name;
    }
}

}  // namespace ovk::tests
