// SPDX-License-Identifier: GPL-2.0-only
// The host kernel tells the truth: what it answers is what a real kernel answers, to well-formed
// and malformed texts from a fixed seed.
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "lab/tests/guest.h"
#include "sim/simulator.h"
#include "tests/attribute_list.h"
#include "tests/pattern.h"
#include "tests/report_text.h"

namespace lab {

namespace {

using std::string_literals::operator""s;

// A read, or the write of a text.
struct operation {
    const char *what;
    std::string attribute;
    std::string text = "";
};

class generator {
  public:
    const std::string &one_of(const lines &choices) { return choices[up_to(choices.size() - 1)]; }

    std::string vary(const std::string &text) {
        if (one_in(3)) {
            return text;
        }
        return one_in(12) ? at_the_limits(text) : reworded(text);
    }

  private:
    std::size_t up_to(std::size_t most) { return engine_() % (most + 1); }
    bool one_in(std::size_t count) { return up_to(count - 1) == 0; }

    // Nothing, or around a page.
    std::string at_the_limits(const std::string &text) {
        const std::size_t length = 4080 + up_to(32);
        return one_of({"", std::string(length, ' ') + text, std::string(length, '0') + text,
                       text + std::string(length, ' ') + "\n", std::string(length, '7'),
                       text + std::string(2 * length, 'x')});
    }

    std::string odd_word() {
        static const lines choices = tests::words_of(
            "0 1 2 3 7 31 32 40 53 64 -1 -0 +1 + - --1 00 007 0x 0X1f 0x0001 08 1a a ff 1.5 1e3 "
            "0b1 x10 4294967295 4294967296 4294967297 0xffffffff 0x100000000 "
            "18446744073709551615 18446744073709551616 99999999999999999999999999 "
            "-2147483648 -4294967295 1, 1; '1' \xc3\xbc 00000000000000000000000000000000000001 "
            "0x00000000000000000000000000000000000001 true on y N off t");
        return one_of(choices);
    }

    std::string reworded(const std::string &text) {
        static const lines gaps = {" ", " ", " ",  " ",  "  ", "\t",   "\n", ",",
                                   "",  "",  "\v", "\f", "\r", "\xa0", " , "};
        static const lines edges = {"",   "",     "\n", "\n",  " \n",   "\n\n", " ",
                                    "\t", "\r\n", " x", "\0"s, "\0\n"s, "\n1"};
        std::string result = one_in(5) ? one_of(edges) : "";

        for (const std::string &word : tests::words_of(text)) {
            if (!one_in(12)) {
                result += (one_in(3) ? odd_word() : word) + one_of(gaps);
            }
        }
        return result + (one_in(8) ? odd_word() : "") + one_of(edges);
    }

    std::mt19937 engine_{20};
};

// What the list of the attributes and the sessions of the console write. In place of reg_op's,
// registers without a block behind them and what is no register: others change by themselves, or
// the chip objects to them.
std::map<std::string, lines> good_texts() {
    std::map<std::string, lines> all;

    for (const tests::attribute &each : tests::attribute_list()) {
        all[each.name].assign(each.texts.begin(), each.texts.end());
    }
    for (const auto &entry :
         std::filesystem::directory_iterator(OVK_SOURCE_DIR "/tests/sessions")) {
        for (const std::string &line : lines_of(content_of(entry.path()))) {
            const lines write = tests::groups_of(line, "> write (\\w+) (.*)");
            // A pass over 4 GiB takes its time.
            if (!write.empty() && !tests::contains(line, " 100000000 ")) {
                all[write[0]].push_back(write[1] + "\n");
            }
        }
    }
    all["reg_op"] = {"0x1d000000\n",     "0x1d000004 0x12345678\n", "1d000008 ff\n",
                     "1d000008 12\n",    "0x1ebffffc 31 1\n",       "0x1ec00000 7 0\n",
                     "0x1bfffffc 0 1\n", "0x1d000002 1\n",          "0x1d00000c 32 2\n"};
    return all;
}

// Before a read: measuring takes little time then, and no trace tells how long something took.
operation settled(const tests::attribute &target) {
    if (target.name == "bw_bus"s) {
        return {"write", "bw_emi", "2\n"};
    }
    return target.texts.empty() ? operation{"write", "debug_log_on", "0\n"}
                                : operation{"write", target.name, target.texts.front()};
}

// Fifty variations for each attribute, and reads in between.
std::vector<operation> operations() {
    std::map<std::string, lines> good = good_texts();
    generator source;
    std::vector<operation> all;

    for (const tests::attribute &each : tests::attribute_list()) {
        good[each.name].push_back("1\n");
        for (unsigned i = 0; i < 50; ++i) {
            all.push_back({"write", each.name, source.vary(source.one_of(good[each.name]))});
            if (i % 8 == 0) {
                all.push_back(settled(each));
                all.push_back({"read", each.name});
            }
        }
        all.push_back(settled(each));
    }
    return all;
}

std::string script_of(const std::vector<operation> &all) {
    std::string script = "cat >/session <<'END'\n";
    for (const operation &each : all) {
        script += each.what + " "s + each.attribute + " " + hexadecimal(each.text) + "\n";
    }
    return script + "END\nexec ovk-session run /session\n";
}

// The last word of a line, which is in hexadecimal, as a text.
std::string decoded(const std::string &line) {
    const std::size_t start = line.rfind(' ') + 1;
    std::string result = line.substr(0, start);
    for (std::size_t i = start; i + 1 < line.size(); i += 2) {
        result += static_cast<char>(std::stoi(line.substr(i, 2), nullptr, 16));
    }
    return result + "\n";
}

// What came of each operation. Not the module's are the messages of a sibling's stand-in, which
// says what it was asked, and of a kernel whose processor was late.
lines in_guest(const std::string &printed) {
    lines all;
    for (const std::string &line : lines_of(printed)) {
        const std::string text = decoded(line);
        if (!text.starts_with("log ")) {
            all.push_back(text);
        } else if (!tests::contains(text.substr(0, 24),
                                    "log . (ovk-smi-tv|hrtimer|clocksource|sched): ")) {
            all.at(all.size() - 1) += text;
        }
    }
    return all;
}

std::string on_host(host::machine &machine, const operation &wanted) {
    std::string came;
    if (wanted.what == "read"s) {
        const auto result = machine.read(wanted.attribute);
        came = std::to_string(result.code) + " " + result.text + "\n";
    } else {
        came = std::to_string(machine.write(wanted.attribute, wanted.text)) + " \n";
    }
    for (const host::log_line &line : machine.take_log()) {
        came += "log " + std::to_string(line.level) + " " + line.text + "\n";
    }
    return came;
}

// No traffic: what reports say then does not depend on the clock. Registers that texts show are
// not all 0.
constexpr const char *quiet = R"(title = "no traffic"
[registers]
"emi_cen0+0x100" = 0x25
"emi_cen0+0x110" = 0x3f
"emi_cen0+0x118" = 0x12345678
)";

class differential : public guest, public testing::WithParamInterface<const char *> {};

TEST_P(differential, the_host_kernel_answers_as_a_real_kernel_does) {
    const std::vector<operation> all = operations();
    const std::string scenario = path("quiet.toml");
    write_file(scenario, quiet);
    tests::rig host(GetParam());
    host.chip().set_scenario(sim::find_scenario(GetParam(), scenario));
    host.loaded();

    const lines outcomes =
        in_guest(run({"--soc", GetParam(), "--scenario", scenario}, script_of(all)));

    ASSERT_EQ(outcomes.size(), all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(outcomes[i], on_host(host.machine(), all[i]))
            << all[i].what << " " << all[i].attribute << " "
            << testing::PrintToString(all[i].text.substr(0, 80));
    }
}

// Monitors at the EMI ports, and at the SMI commons with three channels.
INSTANTIATE_TEST_SUITE_P(chips, differential, testing::Values("zt430", "zt440"),
                         [](const auto &chip) { return std::string(chip.param); });

}  // namespace

}  // namespace lab
