// SPDX-License-Identifier: GPL-2.0-only
// Console sessions: files in which a line after "> " is a command, and the lines up to the next
// one are what it must print, with the escape character as ESC. The first line names the chip. With
// "loaded" in it the module is loaded before the first command; with "watched" in it the register
// accesses that were traced and what the kernel logged follow what each command prints.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "sim/console.h"
#include "tests/pattern.h"
#include "tests/rig.h"

namespace tests {

static const std::filesystem::path folder = OVK_SOURCE_DIR "/tests/sessions";

static std::vector<std::string> session_names() {
    std::vector<std::string> names;

    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().stem());
    }
    return names;
}

static std::string outcome(rig &r, const std::string &command, bool watched) {
    std::ostringstream out;
    sim::console console(r.simulator(), out);

    console.execute(command);
    if (watched) {
        console.execute("trace show");
        console.execute("dmesg");
    }
    return replaced(out.str(), "\033", "ESC");
}

class sessions : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(console, sessions, testing::ValuesIn(session_names()),
                         [](const auto &name) { return name.param; });

TEST_P(sessions, print_what_they_must) {
    std::ifstream file(folder / (GetParam() + ".session"));
    std::string line;
    std::string soc;
    std::string expected;
    std::string printed;

    file >> soc;
    std::getline(file, line);
    rig r(soc);
    const bool watched = line.ends_with(" watched");
    if (line.starts_with(" loaded")) {
        r.loaded();
    }
    while (std::getline(file, line)) {
        expected += line.starts_with("#") ? "" : line + "\n";
        if (line.starts_with("> ")) {
            printed += line + "\n" + outcome(r, line.substr(2), watched);
        }
    }
    EXPECT_EQ(printed, expected);
    EXPECT_NE(printed, "");
}

}  // namespace tests
