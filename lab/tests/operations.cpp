// SPDX-License-Identifier: GPL-2.0-only
#include "lab/tests/operations.h"

#include <algorithm>
#include <cstdio>
#include <random>
#include <stdexcept>

#include "tests/report_text.h"

namespace lab {

namespace {

// One word of a well-formed text: a number up to this (the module count for 0), or one of these.
struct field {
    std::uint32_t largest;
    std::vector<std::string> words = {};
};

// How an attribute is used.
struct usage {
    const char *attribute;
    std::vector<field> fields;
    unsigned writes;
    unsigned reads;
    // Written before every read, and after the last write. Measuring times are short then, and no
    // trace tells how long something took. %u stands for a module's id.
    struct {
        const char *attribute;
        const char *text;
    } settle = {nullptr, nullptr};
};

const std::vector<std::string> truth_words = {"0", "1", "y", "Y", "n", "N", "on", "off", "ON", "t"};

// Registers without a block behind them, and what is no register.
const std::vector<std::string> addresses = {"0x1d000000", "0x1d000004", "1d000008",   "0x1ebffffc",
                                            "0x1ec00000", "0x1bfffffc", "0x1d000002", "0x1d00000c"};

const std::vector<usage> &usages() {
    static const std::vector<usage> table = {
        {"debug_log_on", {{2}}, 40, 6, {"debug_log_on", "0\n"}},
        {"reg_op",
         {{0, addresses}, {33, {"0x12345678", "ff", "f0", "31", "32", "7"}}, {2}},
         60,
         24,
         {}},
        {"fake_engine",
         {{4},
          {0, {"0", "0x80000000", "80000000", "123456789"}},
          {0, {"10", "1000", "0x4000", "100000000", "0"}},
          {3},
          {0, {"a5a5", "0x5a5a", "ffff", "12345"}}},
         40,
         8,
         {}},
        {"fake_eng_loop", {{4}, {1}}, 20, 0, {}},
        {"bw_total", {{0}, {1}, {40}, {1}}, 240, 24, {"bw_total", "%u 1 1 0\n"}},
        {"bw_larb", {{0}, {40}}, 80, 12, {"bw_larb", "%u 1\n"}},
        {"bw_scomm", {{40}}, 60, 4, {"bw_scomm", "1\n"}},
        {"bw_emi", {{40}}, 60, 3, {"bw_emi", "1\n"}},
        {"bw_bus", {{1}}, 3, 2, {"bw_emi", "1\n"}},
        {"bw_emi_detail", {{0, truth_words}}, 30, 0, {}},
        {"bw_emi_lmt", {{4}, {13}, {80}}, 60, 2, {}},
        {"bw_emi_timer", {{4}, {13}, {2}, {300}}, 60, 2, {}},
        {"bw_emi_ostd", {{4}, {13}, {2}, {300}}, 60, 2, {}},
        {"ip_config", {{1}}, 3, 2, {}},
        {"larb_module_list", {{1}}, 3, 2, {}},
        {"simple_mon", {{1}}, 120, 0, {}},
        {"larb_config", {{3}, {54}, {33}, {70}}, 80, 0, {}},
        {"cpupri_slot", {{1}}, 3, 2, {}},
        {"cpupri",
         {{3},
          {3},
          {0, {"0x80000000", "0x0", "0x1000", "0x40001000", "80000000", "0x800"}},
          {0, {"0x1000", "0x100000", "0x1001", "1000", "0x0"}}},
         60,
         12,
         {}},
        {"mask", {{4}, {33}, {1}}, 30, 0, {}},
        {"emi_setting", {{1}}, 3, 2, {}},
        {"larb_ostdl", {{54}, {33}}, 60, 20, {}},
        {"fifo_status", {{0, truth_words}}, 30, 8, {}},
        {"fifo_status_clear", {{0, truth_words}}, 20, 0, {}},
    };
    return table;
}

const usage &usage_of(const std::string &attribute) {
    const auto found = std::find_if(usages().begin(), usages().end(),
                                    [&](const usage &each) { return attribute == each.attribute; });
    if (found == usages().end()) {
        throw std::runtime_error("how is " + attribute + " used?");
    }
    return *found;
}

class generator {
  public:
    generator(std::uint32_t modules, unsigned seed) : modules_(modules), engine_(seed) {}

    void add_operations(const std::string &attribute, std::vector<operation> &session) {
        const usage &use = usage_of(attribute);

        for (unsigned i = 0; i < use.writes; ++i) {
            session.push_back({true, attribute, text(use)});
            if (use.reads != 0 && i % std::max(1u, use.writes / use.reads) == 0) {
                add_read(attribute, use, session);
            }
        }
        add_read(attribute, use, session);
    }

  private:
    std::uint32_t up_to(std::uint32_t most) {
        return static_cast<std::uint32_t>(engine_() % (std::uint64_t{most} + 1));
    }
    bool one_in(std::uint32_t count) { return up_to(count - 1) == 0; }

    std::string one_of(const std::vector<std::string> &choices) {
        return choices[up_to(static_cast<std::uint32_t>(choices.size() - 1))];
    }

    void add_read(const std::string &attribute, const usage &use, std::vector<operation> &session) {
        if (use.settle.text != nullptr) {
            char settled[64];
            std::snprintf(settled, sizeof settled, use.settle.text, up_to(modules_ - 1));
            session.push_back({true, use.settle.attribute, settled});
        }
        session.push_back({false, attribute, ""});
    }

    std::string good_word(const field &wanted) {
        if (!wanted.words.empty()) {
            return one_of(wanted.words);
        }
        const std::uint32_t value = up_to(wanted.largest == 0 ? modules_ : wanted.largest);
        char text[16];
        std::snprintf(text, sizeof text, one_in(6) ? "0x%x" : "%u", value);
        return text;
    }

    std::string odd_number() {
        static const std::vector<std::string> choices = tests::words_of(
            "-1 -0 +1 + - --1 00 007 0x 0X1f 0x0001 08 1a a ff 1.5 1e3 0b1 x10 "
            "4294967295 4294967296 4294967297 0xffffffff 0x100000000 "
            "18446744073709551615 18446744073709551616 99999999999999999999999999 "
            "-2147483648 -4294967295 1, 1; '1' \xc3\xbc "
            "00000000000000000000000000000000000001 "
            "0x00000000000000000000000000000000000001 true on y N");
        return one_of(choices);
    }

    std::string word(const field &wanted) { return one_in(3) ? odd_number() : good_word(wanted); }

    std::string gap() {
        static const std::vector<std::string> choices = {
            " ", " ", " ", " ", "  ", "\t", "\n", ",", "", "", "\v", "\f", "\r", "\xa0", " , "};
        return one_of(choices);
    }

    std::string edge() {
        using namespace std::string_literals;
        static const std::vector<std::string> choices = {
            "", "", "", "\n", "\n", " \n", "\n\n", " ", "\t", "\r\n", " x", "\0"s, "\0\n"s, "\n1"};
        return one_of(choices);
    }

    std::string well_formed(const usage &use) {
        std::string result;
        for (const field &each : use.fields) {
            result += (result.empty() ? "" : " ") + good_word(each);
        }
        return result + "\n";
    }

    std::string words_of_any_kind(const usage &use) {
        std::string result = one_in(5) ? edge() : "";
        const std::size_t wanted = use.fields.size() - 1 + up_to(2);
        for (std::size_t i = 0; i < wanted; ++i) {
            result += (i == 0 ? "" : gap()) + word(use.fields[i % use.fields.size()]);
        }
        return result + edge();
    }

    std::string very_long(const usage &use) {
        const std::size_t length = 4080 + up_to(32);
        switch (up_to(4)) {
            case 0:
                return std::string(length, ' ') + well_formed(use);
            case 1:
                return std::string(length, '0') + well_formed(use);
            case 2:
                return well_formed(use) + std::string(length, ' ') + "\n";
            case 3:
                return std::string(length, '7');
            default:
                return well_formed(use) + std::string(2 * length, 'x');
        }
    }

    std::string text(const usage &use) {
        if (one_in(3)) {
            return well_formed(use);
        }
        if (one_in(16)) {
            return very_long(use);
        }
        if (one_in(24)) {
            return "";
        }
        return words_of_any_kind(use);
    }

    std::uint32_t modules_;
    std::mt19937 engine_;
};

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

std::vector<operation> generate_session(const std::vector<std::string> &attributes,
                                        std::uint32_t modules, unsigned seed) {
    generator source(modules, seed);
    std::vector<operation> session;

    for (const std::string &attribute : attributes) {
        source.add_operations(attribute, session);
    }
    return session;
}

}  // namespace lab
