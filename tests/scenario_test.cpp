// SPDX-License-Identifier: GPL-2.0-only
#include "soc/scenario.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

// Gone again at the end of its scope, also when the file turns out to be wrong.
class temporary_file {
  public:
    explicit temporary_file(const std::string &text) { std::ofstream(path_) << text; }
    ~temporary_file() { std::filesystem::remove(path_); }
    temporary_file(const temporary_file &) = delete;
    temporary_file &operator=(const temporary_file &) = delete;

    const std::filesystem::path &path() const { return path_; }

  private:
    static std::string test_name() {
        return ::testing::UnitTest::GetInstance()->current_test_info()->name();
    }

    std::filesystem::path path_ =
        std::filesystem::path(::testing::TempDir()) / ("scenario_" + test_name() + ".toml");
};

soc::scenario parsed(const std::string &text) {
    const temporary_file file(text);
    return soc::scenario::from_file(file.path());
}

TEST(Scenario, ReadsSourcesAndRegisters) {
    const auto read = parsed(
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

TEST(Scenario, NamesFileAndLineOfAMistake) {
    const std::string at = "[[source]]\nat = \"larb4:2\"\n";
    for (const char *wrong : {"\n\ncolour = 3\n", "\n\ntitle = 3\n", "\n\ntitle = \n",
                              "\n\n[registers]\nlarb4 = 1\n"}) {
        EXPECT_THROW(parsed(wrong), std::runtime_error) << wrong;
    }
    for (const std::string line :
         {"efficiency = 0", "efficiency = 101", "ultra = 101", "read = -1", "read = 1.5",
          "speed = 1", "at = \"larb:2\"", "at = \"emi:0x1\"", "[[source]]\nat = \"larb4:2\""}) {
        try {
            parsed(line.starts_with("at") ? "[[source]]\n\n" + line : at + line);
            ADD_FAILURE() << line;
        } catch (const std::runtime_error &error) {
            EXPECT_NE(std::string(error.what()).find(".toml:3: "), std::string::npos)
                << error.what();
        }
    }
}

}  // namespace
