// SPDX-License-Identifier: GPL-2.0-only
// docs/tuning.md: its commands print what it says. Colours, cursor movements, blanks at the end of
// a line and empty lines at the end of an output are not in the document.
#include <fstream>
#include <sstream>

#include "sim/console.h"
#include "tests/pattern.h"
#include "tests/rig.h"

namespace tests {

namespace {

struct step {
    std::string command;
    lines output;
};

struct walk {
    std::string soc;
    std::string scenario;
    std::vector<step> steps;
};

std::string without_trailing_blanks(const std::string &line) {
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

lines as_documented(const std::string &output) {
    std::istringstream stream(plain(output));
    lines result;
    for (std::string line; std::getline(stream, line);) {
        result.push_back(without_trailing_blanks(line));
    }
    while (!result.empty() && result.back().empty()) {
        result.pop_back();
    }
    return result;
}

walk read_walk(const std::string &path) {
    static const std::string start = R"(\./run --soc (\w+) --scenario (\w+) console)";
    std::ifstream file(path);
    walk found;
    bool in_session = false;

    for (std::string line; std::getline(file, line);) {
        const lines chip = groups_of(line, start);
        if (line.starts_with("```")) {
            in_session = line == "```console";
        } else if (in_session && line.starts_with("> ")) {
            found.steps.push_back({line.substr(2), {}});
        } else if (in_session) {
            found.steps.at(found.steps.size() - 1).output.push_back(line);
        } else if (!chip.empty()) {
            found.soc = chip[0];
            found.scenario = chip[1];
        }
    }
    return found;
}

}  // namespace

TEST(tuning, commands_of_the_walk_print_what_the_document_shows) {
    const walk document = read_walk(OVK_SOURCE_DIR "/docs/tuning.md");
    ASSERT_FALSE(document.steps.empty());
    rig r(document.soc);
    r.chip().set_scenario(sim::find_scenario(document.soc, document.scenario));
    for (const step &each : document.steps) {
        std::ostringstream out;
        sim::console(r.simulator(), out).execute(each.command);
        EXPECT_EQ(as_documented(out.str()), each.output) << each.command;
    }
}

}  // namespace tests
