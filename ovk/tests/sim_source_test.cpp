// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include <cerrno>

#include "ovk/source/source.h"
#include "ovk/tests/program.h"

namespace ovk::tests {

using lines = std::vector<std::string>;

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
}

TEST(sim_source, answers_with_the_errno_of_what_the_module_refuses) {
    const auto source = open_source("sim:zt430");

    EXPECT_EQ(source->read("bw_nothing").error, ENOENT);
    EXPECT_EQ(source->write("cpupri", "1 3 0x1000 0x1000").error, EPERM);
}

TEST(sim_source, says_what_can_not_be_opened) {
    EXPECT_EQ(ovk_with({"-s", "sim:zt999", "read", "bw_bus"}).status, 3);
    EXPECT_EQ(ovk_with({"-s", "sim:zt430,nothing", "read", "bw_bus"}).status, 3);
    EXPECT_EQ(ovk_with({"-s", "sim:/no/such.dts", "read", "bw_bus"}).status, 3);
    EXPECT_EQ(ovk_with({"-s", "sim", "read", "bw_bus"}).status, 2);
    EXPECT_EQ(ovk_with({"-s", "nonsense:1", "read", "bw_bus"}).status, 2);
}

}  // namespace ovk::tests
