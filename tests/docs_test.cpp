// SPDX-License-Identifier: GPL-2.0-only
// The documentation against the program.
#include <fstream>
#include <sstream>

#include "sim/console.h"
#include "tests/attribute_list.h"
#include "tests/pattern.h"
#include "tests/report_text.h"

namespace tests {

TEST(docs, describe_all_attributes_in_order_with_their_modes) {
    std::string described;

    for (const std::string &line : lines_of(std::ifstream(OVK_SOURCE_DIR "/docs/attributes.md"))) {
        if (line.starts_with("## ")) {
            described += line.substr(3);
        } else if (line.starts_with("| Mode | ")) {
            described += line.substr(8, 5) + "\n";
        }
    }
    EXPECT_EQ(described, names_and_modes(attribute_list()));
}

TEST(docs, have_every_console_command_in_the_manual_page) {
    std::string entries;

    for (const std::string &line : lines_of(std::ifstream(OVK_SOURCE_DIR "/docs/ovk-sim.1"))) {
        entries += line.starts_with(".It Cm ") ? line.substr(6) + " " : "";
    }
    for (const std::string &line : lines_of(std::istringstream(sim::console::help()))) {
        for (const std::string &name : groups_of(line, "  (\\w+).*")) {
            EXPECT_NE(entries.find(" " + name + " "), std::string::npos) << name;
        }
    }
}

}  // namespace tests
