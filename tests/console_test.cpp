// SPDX-License-Identifier: GPL-2.0-only
// What the console offers on a terminal, and what becomes of a script that fails.
#include "sim/console.h"

#include <sstream>

#include "tests/rig.h"

namespace tests {

TEST(console, completes_commands_attributes_blocks_and_scenarios) {
    sim::simulator simulator({.tree = sim::chip_tree("zt420"), .soc = "zt420", .dram_freq = {}});
    std::ostringstream out;
    const sim::console console(simulator, out);
    EXPECT_EQ(simulator.machine().load(), 0);

    for (const auto &[start, word, words] : {std::tuple{"", "un", lines{"unload", "unpin"}},
                                             {"help ", "cat", {"cat"}},
                                             {"cat ", "bw_emi_l", {"bw_emi_lmt"}},
                                             {"write ", "nothing", {}},
                                             {"peek ", "smi", {"smi_common0+0x", "smi_common1+0x"}},
                                             {"hang ", "miu2gmc", {"miu2gmc0", "miu2gmc1"}},
                                             {"trace ", "o", {"on", "off"}},
                                             {"fail ", "no", {"node"}},
                                             {"scenario ", "pl", {"playback"}}}) {
        EXPECT_EQ(console.completions(start, word), words) << start << word;
    }
    simulator.machine().unload();
}

TEST(console, names_errors_counts_objections_and_knows_of_failures) {
    rig r("zt420");
    std::ostringstream out;
    sim::console console(r.simulator(), out);

    EXPECT_EQ(sim::error_name(-17), "EEXIST");
    EXPECT_EQ(sim::counted({"b", "a", "b", "b"}), (lines{"b (3 times)", "a"}));
    console.execute("load");
    EXPECT_TRUE(console.succeeded_all());
    console.execute("load");
    EXPECT_EQ(out.str(), "error: load: -17\n");
    EXPECT_TRUE(console.understood_all());
    EXPECT_FALSE(console.succeeded_all());
    console.execute("exit");
    EXPECT_TRUE(console.ended());
}

}  // namespace tests
