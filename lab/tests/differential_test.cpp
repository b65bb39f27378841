// SPDX-License-Identifier: GPL-2.0-only
// The host kernel tells the truth: what it answers is what a real kernel answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "lab/tests/guest.h"
#include "lab/tests/operations.h"
#include "sim/simulator.h"

namespace lab {

namespace {

constexpr unsigned seed = 20;

// Not the module's: a sibling's stand-in that says what it was asked, and a kernel whose processor
// was late.
const std::vector<std::string> foreign = {"ovk-smi-tv: ", "hrtimer: ", "clocksource: ", "sched: "};

// What came of an operation, in the form that ovk-session prints.
using outcome = std::vector<std::string>;

std::string hexadecimal(const std::string &text) {
    std::string result;
    for (const char each : text) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(each));
        result += digits;
    }
    return result;
}

std::string readable(const std::string &digits) {
    std::string result;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        const auto byte = static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
        result += byte == '\033' ? std::string("ESC") : std::string(1, byte);
    }
    return result;
}

std::string readable(const outcome &came) {
    std::string result;
    for (const std::string &line : came) {
        const std::size_t last = line.rfind(' ');
        result += "  " + line.substr(0, last) + " " + readable(line.substr(last + 1)) + "\n";
    }
    return result;
}

outcome on_host(host::machine &machine, const operation &wanted) {
    outcome came;
    if (wanted.is_write) {
        came.push_back(std::to_string(machine.write(wanted.attribute, wanted.text)) + " ");
    } else {
        const auto result = machine.read(wanted.attribute);
        came.push_back(std::to_string(result.code) + " " + hexadecimal(result.text));
    }
    for (const host::log_line &line : machine.take_log()) {
        came.push_back("log " + std::to_string(line.level) + " " + hexadecimal(line.text));
    }
    return came;
}

bool is_foreign(const std::string &line) {
    return std::any_of(foreign.begin(), foreign.end(), [&](const std::string &start) {
        return line.find(" " + hexadecimal(start)) != std::string::npos;
    });
}

std::vector<outcome> in_guest(const std::string &printed) {
    std::vector<outcome> all;
    for (const std::string &line : lines_of(printed)) {
        const bool logged = line.starts_with("log ");
        if (logged && is_foreign(line)) {
            continue;
        }
        if (!logged || all.empty()) {
            all.emplace_back();
        }
        all.back().push_back(line);
    }
    return all;
}

std::string script_of(const std::vector<operation> &session) {
    std::ostringstream script;
    script << "cat >/session <<'END'\n";
    for (const operation &each : session) {
        script << (each.is_write ? "write " : "read ") << each.attribute << " "
               << hexadecimal(each.text) << "\n";
    }
    script << "END\nexec ovk-session run /session\n";
    return script.str();
}

// No traffic: what reports say then does not depend on the clock. Registers that texts show are
// not all 0.
constexpr const char *quiet = R"(title = "no traffic"
[registers]
"emi_cen0+0x100" = 0x25
"emi_cen0+0x110" = 0x3f
"emi_cen0+0x118" = 0x12345678
)";

class differential : public testing::TestWithParam<const char *> {};

TEST_P(differential, the_host_kernel_answers_as_a_real_kernel_does) {
    const boot_files files;
    write_file(files.path("quiet.toml"), quiet);
    sim::simulator simulator(
        {.tree = sim::chip_tree(GetParam()), .soc = GetParam(), .dram_freq = {}});
    host::machine &machine = simulator.machine();
    simulator.set_scenario(files.path("quiet.toml"));
    ASSERT_EQ(machine.load(), 0);
    machine.take_log();
    std::vector<std::string> attributes;
    for (const auto &each : machine.attributes()) {
        attributes.push_back(each.name);
    }
    const auto session = generate_session(attributes, seed);

    const ending guest = run(
        files, {"--soc", GetParam(), "--scenario", files.path("quiet.toml"), "--timeout", "300"},
        script_of(session));

    EXPECT_EQ(guest.status, 0) << guest.err;
    const std::vector<outcome> guest_outcomes = in_guest(guest.out);
    ASSERT_EQ(guest_outcomes.size(), session.size());
    for (std::size_t i = 0; i < session.size(); ++i) {
        const outcome expected = on_host(machine, session[i]);
        EXPECT_TRUE(guest_outcomes[i] == expected)
            << session[i].describe() << "\nguest:\n"
            << readable(guest_outcomes[i]) << "host kernel:\n"
            << readable(expected);
    }
    machine.unload();
    EXPECT_EQ(machine.take_oopses(), std::vector<std::string>{});
}

// Monitors at the EMI ports, and at the SMI commons with three channels.
INSTANTIATE_TEST_SUITE_P(chips, differential, testing::Values("zt430", "zt440"),
                         [](const auto &chip) { return std::string(chip.param); });

}  // namespace

}  // namespace lab
