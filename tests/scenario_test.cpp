// SPDX-License-Identifier: GPL-2.0-only
#include "soc/scenario.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

namespace tests {

using std::string_literals::operator""s;

// The file is gone again also when it turns out to be wrong.
class scenario_file : public testing::Test {
  protected:
    ~scenario_file() override { std::filesystem::remove(path_); }
    soc::scenario parsed(const std::string &text) const {
        std::ofstream(path_) << text;
        return soc::scenario::from_file(path_);
    }

  private:
    const std::filesystem::path path_ =
        testing::TempDir() + "scenario_" + std::to_string(getpid()) + ".toml";
};

TEST_F(scenario_file, holds_sources_and_registers) {
    const soc::scenario read = parsed(
        "title = \"4K\"\n[[source]]\nat = \"larb4:2\"\nread = 820\n"
        "[[source]]\nat = \"emi:0\"\nefficiency = 100\n"
        "[registers]\n\"smi_common0+0x220\" = 0x4\n");
    EXPECT_EQ(read.title, "4K");
    ASSERT_EQ(read.sources.size(), 2u);
    EXPECT_EQ(read.sources[0].block, 4u);
    EXPECT_EQ(read.sources[0].port, 2u);
    EXPECT_EQ(read.sources[0].traffic.read, 820u);
    EXPECT_EQ(read.sources[1].traffic.burst, 7u);
    ASSERT_EQ(read.presets.size(), 1u);
    EXPECT_EQ(read.presets[0].offset, 0x220u);
}

TEST_F(scenario_file, is_named_with_the_line_of_a_mistake) {
    const std::string source = "[[source]]\nat = \"larb4:2\"\n";
    for (const std::string &wrong :
         {"\n\ncolour = 3"s, "\n\ntitle = 3"s, "\n\ntitle = "s, "\n[registers]\nlarb4 = 1"s,
          "\n[registers]\n\"larb4+0x2\" = 1"s, "[[source]]\n\nat = \"larb:2\""s,
          "[[source]]\n\nat = \"emi:0x1\""s, source + "efficiency = 0", source + "efficiency = 101",
          source + "ultra = 101", source + "read = -1", source + "read = 1.5", source + "speed = 1",
          source + source}) {
        try {
            parsed(wrong);
            ADD_FAILURE() << "no objection to " << wrong;
        } catch (const std::runtime_error &error) {
            const std::string place = "scenario_" + std::to_string(getpid()) + ".toml:3: ";
            EXPECT_NE(std::string(error.what()).find(place), std::string::npos) << error.what();
        }
    }
}

}  // namespace tests
