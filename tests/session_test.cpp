// SPDX-License-Identifier: GPL-2.0-only
// Console sessions: files in which a line after "> " is a command, and the lines up to the next
// one are what it must print, with the escape character as ESC. The first line names the chip, and
// says whether the module is loaded before the first command.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "sim/console.h"
#include "tests/pattern.h"
#include "tests/rig.h"

namespace tests {

namespace {

struct step {
    std::string command;
    std::string output;
};

struct session {
    std::string soc;
    std::string state;
    std::vector<step> steps;
};

session read_session(const std::filesystem::path &path) {
    std::ifstream file(path);
    session script;
    std::string line;

    std::getline(file, line);
    std::istringstream(line) >> script.soc >> script.state;
    while (std::getline(file, line)) {
        if (line.starts_with("> ")) {
            script.steps.push_back({line.substr(2), ""});
        } else if (!line.starts_with("#") && !script.steps.empty()) {
            script.steps.back().output += line + "\n";
        }
    }
    return script;
}

std::vector<std::string> session_names() {
    std::vector<std::string> names;

    for (const auto &entry :
         std::filesystem::directory_iterator(OVK_SOURCE_DIR "/tests/sessions")) {
        names.push_back(entry.path().stem());
    }
    return names;
}

}  // namespace

class sessions : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(console, sessions, testing::ValuesIn(session_names()),
                         [](const auto &name) { return name.param; });

TEST_P(sessions, prints_what_it_must) {
    const session script =
        read_session(OVK_SOURCE_DIR "/tests/sessions/" + GetParam() + ".session");
    rig r(script.soc);
    if (script.state == "loaded") {
        r.loaded();
    }
    ASSERT_FALSE(script.steps.empty());
    for (const step &each : script.steps) {
        std::ostringstream out;
        sim::console(r.simulator(), out).execute(each.command);
        EXPECT_EQ(replaced(out.str(), "\033", "ESC"), each.output) << each.command;
    }
}

}  // namespace tests
