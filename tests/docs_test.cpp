// SPDX-License-Identifier: GPL-2.0-only
// The documentation against the program.
#include <fstream>
#include <sstream>

#include "sim/console.h"
#include "tests/attribute_list.h"
#include "tests/rig.h"

namespace tests {

namespace {

std::string file(const std::string &name) {
    std::ifstream stream(std::string(OVK_SOURCE_DIR) + "/" + name);
    std::ostringstream text;

    text << stream.rdbuf();
    EXPECT_FALSE(text.str().empty()) << name;
    return text.str();
}

// Name and mode of every attribute that docs/attributes.md describes, in its order.
std::string documented_attributes() {
    std::istringstream text(file("docs/attributes.md"));
    std::string found;
    std::string name;

    for (std::string line; std::getline(text, line);) {
        if (line.starts_with("## ")) {
            name = line.substr(3);
        } else if (line.starts_with("| Mode | ")) {
            found += name + " " + line.substr(9, 4) + "\n";
        }
    }
    return found;
}

}  // namespace

TEST(docs, attributes_are_all_described_in_order_with_their_modes) {
    EXPECT_EQ(documented_attributes(), names_and_modes(attribute_list()));
}

TEST(docs, manual_page_names_every_console_command) {
    std::istringstream page(file("docs/ovk-sim.1"));
    std::istringstream help(sim::console::help());
    std::string entries;

    for (std::string line; std::getline(page, line);) {
        entries += line.starts_with(".It Cm ") ? line.substr(6) + " " : "";
    }
    for (std::string line; std::getline(help, line);) {
        std::istringstream words(line);
        std::string name;
        if (line.starts_with("  ") && line[2] != ' ' && words >> name) {
            EXPECT_NE(entries.find(" " + name + " "), std::string::npos) << name;
        }
    }
}

}  // namespace tests
