// SPDX-License-Identifier: GPL-2.0-only
// Console sessions: a line after "> " is a command, and the lines up to the next one are what it
// must print. docs/tuning.md has one, too.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "sim/console.h"
#include "tests/block_trace.h"

namespace tests {

namespace {

const std::filesystem::path sources = OVK_SOURCE_DIR;

std::string joined(const lines &text) {
    std::string result;

    for (const std::string &line : text) {
        result += line + "\n";
    }
    return result;
}

// The session's commands with what they print, or cause of register accesses and messages.
std::string played(rig &r, const lines &session, bool watched) {
    std::ostringstream out;
    sim::console console(r.simulator(), out);

    for (const std::string &line : session) {
        if (line.starts_with("> ")) {
            out << line << "\n";
            console.execute(line.substr(2));
            if (watched) {
                console.execute("trace show");
                console.execute("dmesg");
            }
        }
    }
    return out.str();
}

// Lines "@ BLOCK ACCESS..." are register accesses in the words of the other expected traces.
lines expanded(const lines &session) {
    lines all;

    for (const std::string &line : session) {
        const lines parts = groups_of(line, "@ (\\w+) (.*)");
        if (parts.empty()) {
            all.push_back(line);
        } else {
            add(all, parts[0], "%s", parts[1].c_str());
        }
    }
    return all;
}

lines session_names() {
    lines names;

    for (const auto &entry : std::filesystem::directory_iterator(sources / "tests/sessions")) {
        names.push_back(entry.path().stem());
    }
    return names;
}

}  // namespace

class sessions : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(console, sessions, testing::ValuesIn(session_names()),
                         [](const auto &name) { return name.param; });

// The first line names the chip. With "loaded" in it the module is loaded before the first command;
// with "watched" in it the register accesses that were traced and what the kernel logged follow
// what each command prints. The escape character is ESC.
TEST_P(sessions, print_what_they_must) {
    lines session = lines_of(std::ifstream(sources / "tests/sessions" / (GetParam() + ".session")));
    const std::string first = session.at(0);
    rig r(words_of(first).at(0));

    session.erase(session.begin());
    std::erase_if(session, [](const std::string &line) { return line.starts_with("#"); });
    if (first.find(" loaded") != std::string::npos) {
        r.loaded();
    }
    const std::string printed = played(r, session, first.ends_with(" watched"));
    EXPECT_EQ(replaced(printed, "\033", "ESC"), joined(expanded(session)));
    EXPECT_NE(printed, "");
}

// Colours, cursor movements, blanks at the end of a line and empty lines at the end of an output
// are not in the document.
TEST(tuning, commands_of_the_walk_print_what_the_document_shows) {
    lines start;
    lines session;
    bool in_session = false;

    for (const std::string &line : lines_of(std::ifstream(sources / "docs/tuning.md"))) {
        if (line.starts_with("```")) {
            in_session = line == "```console";
        } else if (in_session) {
            session.push_back(line);
        } else if (line.starts_with("./run --soc ")) {
            start = words_of(line);
        }
    }
    rig r(start.at(2));
    r.chip().set_scenario(sim::find_scenario(start.at(2), start.at(4)));
    const std::string printed = replaced(plain(played(r, session, false)), " +\n", "\n");
    EXPECT_EQ(replaced(printed, "\n+(\n> |\n$)", "$1"), joined(session));
    EXPECT_NE(printed, "");
}

}  // namespace tests
