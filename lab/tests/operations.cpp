// SPDX-License-Identifier: GPL-2.0-only
#include "lab/tests/operations.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "tests/attribute_list.h"
#include "tests/report_text.h"

namespace lab {

namespace {

constexpr unsigned writes = 50;  // of each attribute, and a read after every few
constexpr unsigned writes_per_read = 8;

using texts = std::vector<std::string>;

// Registers without a block behind them, and what is no register: others change by themselves, or
// the chip objects to them.
const texts register_texts = {"0x1d000000\n",     "0x1d000004 0x12345678\n", "1d000008 ff\n",
                              "1d000008 12\n",    "0x1ebffffc 31 1\n",       "0x1ec00000 7 0\n",
                              "0x1bfffffc 0 1\n", "0x1d000002 1\n",          "0x1d00000c 32 2\n"};

// What the sessions of the console write, and what the list of the attributes has.
std::map<std::string, texts> good_texts() {
    std::map<std::string, texts> all;

    for (const tests::attribute &each : tests::attribute_list()) {
        all[each.name].assign(each.texts.begin(), each.texts.end());
    }
    for (const auto &entry :
         std::filesystem::directory_iterator(OVK_SOURCE_DIR "/tests/sessions")) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            const auto end = line.find(' ', 8);
            // A pass over 4 GiB takes its time.
            if (line.starts_with("> write ") && end != std::string::npos &&
                line.find(" 100000000 ") == std::string::npos) {
                all[line.substr(8, end - 8)].push_back(line.substr(end + 1) + "\n");
            }
        }
    }
    all["reg_op"] = register_texts;
    return all;
}

class generator {
  public:
    explicit generator(unsigned seed) : engine_(seed) {}

    std::string vary(const std::string &text) {
        if (one_in(3)) {
            return text;
        }
        if (one_in(16)) {
            return lengthened(text);
        }
        return one_in(24) ? "" : reworded(text);
    }

    const std::string &one_of(const texts &choices) { return choices[up_to(choices.size() - 1)]; }

  private:
    std::size_t up_to(std::size_t most) { return engine_() % (most + 1); }
    bool one_in(std::size_t count) { return up_to(count - 1) == 0; }

    std::string lengthened(const std::string &text) {
        const std::size_t length = 4080 + up_to(32);
        const texts choices = {std::string(length, ' ') + text, std::string(length, '0') + text,
                               text + std::string(length, ' ') + "\n", std::string(length, '7'),
                               text + std::string(2 * length, 'x')};
        return one_of(choices);
    }

    std::string odd_word() {
        static const texts choices = tests::words_of(
            "0 1 2 3 7 31 32 40 53 64 -1 -0 +1 + - --1 00 007 0x 0X1f 0x0001 08 1a a ff 1.5 1e3 "
            "0b1 x10 4294967295 4294967296 4294967297 0xffffffff 0x100000000 "
            "18446744073709551615 18446744073709551616 99999999999999999999999999 "
            "-2147483648 -4294967295 1, 1; '1' \xc3\xbc 00000000000000000000000000000000000001 "
            "0x00000000000000000000000000000000000001 true on y N off t");
        return one_of(choices);
    }

    std::string reworded(const std::string &text) {
        using namespace std::string_literals;
        static const texts gaps = {" ", " ", " ",  " ",  "  ", "\t",   "\n", ",",
                                   "",  "",  "\v", "\f", "\r", "\xa0", " , "};
        static const texts edges = {"",   "",     "\n", "\n",  " \n",   "\n\n", " ",
                                    "\t", "\r\n", " x", "\0"s, "\0\n"s, "\n1"};
        std::string result = one_in(5) ? one_of(edges) : "";

        for (const std::string &word : tests::words_of(text)) {
            if (!one_in(12)) {
                result += (one_in(3) ? odd_word() : word) + one_of(gaps);
            }
        }
        return result + (one_in(8) ? odd_word() : "") + one_of(edges);
    }

    std::mt19937 engine_;
};

// Before a read: measuring takes little time then, and no trace tells how long something took.
operation settled(const std::string &attribute) {
    const std::string settings = attribute == "bw_bus" ? "bw_emi" : attribute;

    for (const tests::attribute &each : tests::attribute_list()) {
        if (each.name == settings && !each.texts.empty()) {
            return {true, settings, each.texts.front()};
        }
    }
    return {true, "debug_log_on", "0\n"};
}

}  // namespace

std::string operation::describe() const {
    std::string result = (is_write ? "write " : "read ") + attribute + " \"";
    for (const char each : text.substr(0, 80)) {
        char code[8];
        const auto byte = static_cast<unsigned char>(each);
        std::snprintf(code, sizeof code, byte < ' ' || byte > '~' ? "\\x%02x" : "%c", byte);
        result += code;
    }
    return result + "\" (" + std::to_string(text.size()) + " bytes)";
}

std::vector<operation> generate_session(const std::vector<std::string> &attributes, unsigned seed) {
    const std::map<std::string, texts> good = good_texts();
    const texts junk = {"1\n"};  // for those that can't be written
    generator source(seed);
    std::vector<operation> session;

    for (const std::string &attribute : attributes) {
        const texts &choices = good.at(attribute).empty() ? junk : good.at(attribute);
        for (unsigned i = 0; i < writes; ++i) {
            session.push_back({true, attribute, source.vary(source.one_of(choices))});
            if (i % writes_per_read == 0) {
                session.push_back(settled(attribute));
                session.push_back({false, attribute, ""});
            }
        }
        session.push_back(settled(attribute));
    }
    return session;
}

}  // namespace lab
