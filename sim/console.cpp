// SPDX-License-Identifier: GPL-2.0-only
#include "sim/console.h"

#include <editline/readline.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <memory>
#include <ostream>
#include <stdexcept>

#include "platform/version.h"

namespace sim {

namespace {

constexpr const char *prompt = "ovk> ";
constexpr std::size_t any_number = SIZE_MAX;
constexpr unsigned default_width = 32;

class usage_error : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string next_word(std::string_view &line) {
    const std::size_t start = line.find_first_not_of(" \t");

    if (start == std::string_view::npos) {
        line = {};
        return {};
    }
    line.remove_prefix(start);
    const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
    std::string word(line.substr(0, end));
    line.remove_prefix(end);
    return word;
}

unsigned parse_width(const std::string &text) {
    if (text == "16" || text == "32" || text == "64") {
        return static_cast<unsigned>(parse_number(text, 64));
    }
    throw usage_error("a width of 16, 32 or 64 expected, not '" + text + "'");
}

std::uint64_t parse_count(const std::string &text) {
    const std::uint64_t count = parse_number(text, UINT64_MAX);

    if (count == 0) {
        throw usage_error("a number from 1 on expected");
    }
    return count;
}

std::string full_width(std::uint64_t value, unsigned width) {
    char text[2 + 16 + 1];

    std::snprintf(text, sizeof(text), "0x%0*" PRIx64, static_cast<int>(width / 4), value);
    return text;
}

std::string mode_text(unsigned mode) {
    static constexpr char letters[] = "rwxrwxrwx";
    std::string text = "-";

    for (int bit = 8; bit >= 0; bit--) {
        text += (mode >> bit & 1) != 0 ? letters[8 - bit] : '-';
    }
    return text;
}

}  // namespace

struct console::command {
    const char *name;
    const char *arguments;
    const char *summary;
    std::size_t fewest;
    std::size_t most;
    void (console::*handler)(const words &);
    std::size_t verbatim_from = any_number;  // argument that is the rest of the line as it stands
};

const std::vector<console::command> &console::commands() {
    static const std::vector<command> table = {
        {"load", "", "load the module", 0, 0, &console::load},
        {"unload", "", "unload the module", 0, 0, &console::unload},
        {"ls", "", "list the attributes in the order of their creation", 0, 0, &console::ls},
        {"cat", "ATTR...", "print what a read of the attribute yields", 1, any_number,
         &console::cat},
        {"write", "ATTR TEXT", "write TEXT and a newline to the attribute", 2, 2, &console::write,
         1},
        {"dmesg", "", "print the kernel log since the last dmesg", 0, 0, &console::dmesg},
        {"trace", "on|off|show", "record register accesses; show prints and empties the record", 1,
         1, &console::trace},
        {"peek", "NODE+0xOFF|0xADDRESS [16|32|64]", "print a register, unnoticed by the chip", 1, 2,
         &console::peek},
        {"poke", "NODE+0xOFF|0xADDRESS VALUE [16|32|64]", "set a register, unnoticed by the chip",
         2, 3, &console::poke},
        {"pin", "NODE+0xOFF|0xADDRESS VALUE", "reads return VALUE, whatever the chip does", 2, 2,
         &console::pin},
        {"unpin", "NODE+0xOFF|0xADDRESS", "reads return what the chip holds again", 1, 1,
         &console::unpin},
        {"hang", "NODE", "the monitor of that node never reports done any more", 1, 1,
         &console::hang},
        {"scenario", "NAME|FILE", "new traffic from now on", 1, 1, &console::scenario},
        {"fail", "alloc N | map NODE | node NODE | attr ATTR | mask | clear",
         "let the N-th allocation from now fail, or a named mapping, look-up or attribute "
         "creation or every mask request until fail clear",
         1, 2, &console::fail},
        {"clock", "", "print the virtual microseconds since power-on", 0, 0, &console::clock},
        {"suspend", "", "put the system to sleep", 0, 0, &console::suspend},
        {"resume", "", "wake the system up", 0, 0, &console::resume},
        {"help", "[COMMAND]", "list the commands, or tell of one", 0, 1, &console::print_help},
        {"quit", "", "end the session, as exit does", 0, 0, &console::quit},
    };
    return table;
}

console::console(simulator &target, std::ostream &out) : target_(target), out_(out) {}

std::string error_name(long code) {
    const char *name = strerrorname_np(static_cast<int>(-code));

    return name != nullptr ? name : std::to_string(code);
}

std::vector<std::string> counted(const std::vector<std::string> &objections) {
    std::vector<std::string> result;

    for (auto at = objections.begin(); at != objections.end(); ++at) {
        if (std::find(objections.begin(), at, *at) == at) {
            const auto count = std::count(at, objections.end(), *at);
            result.push_back(*at + (count > 1 ? " (" + std::to_string(count) + " times)" : ""));
        }
    }
    return result;
}

std::string console::help(std::string_view wanted) {
    std::string text;

    for (const command &entry : commands()) {
        if (!wanted.empty() && wanted != entry.name) {
            continue;
        }
        const std::string usage = std::string(entry.name) + " " + entry.arguments;
        text += "  " + usage;
        text +=
            usage.size() < 28 ? std::string(30 - usage.size(), ' ') : "\n" + std::string(32, ' ');
        text += std::string(entry.summary) + "\n";
    }
    return text;
}

void console::dispatch(std::string_view line) {
    std::string name = next_word(line);

    if (name == "exit") {
        name = "quit";
    }
    if (name.empty() || name.starts_with('#')) {
        return;
    }
    for (const command &entry : commands()) {
        if (name != entry.name) {
            continue;
        }
        words arguments;
        while (arguments.size() < entry.verbatim_from) {
            std::string word = next_word(line);
            if (word.empty()) {
                break;
            }
            arguments.push_back(std::move(word));
        }
        if (arguments.size() == entry.verbatim_from && !line.empty()) {
            arguments.emplace_back(line.substr(1));
        }
        if (arguments.size() < entry.fewest || arguments.size() > entry.most) {
            throw usage_error(name + (*entry.arguments != '\0' ? " " : "") + entry.arguments +
                              " expected");
        }
        (this->*entry.handler)(arguments);
        return;
    }
    throw usage_error("a command expected (see help), not '" + name + "'");
}

void console::execute(std::string_view line) {
    try {
        dispatch(line);
    } catch (const std::runtime_error &error) {
        out_ << "error: " << error.what() << "\n";
        understood_ = false;
    }
}

void console::run(std::istream &in) {
    std::string line;

    while (!ended_ && std::getline(in, line)) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        execute(line);
        out_.flush();
    }
}

namespace {

console *on_terminal = nullptr;  // whose lines are completed: the library calls back without a word

volatile std::sig_atomic_t interrupted = 0;

extern "C" void interrupt(int) {
    interrupted = 1;
}

// Ctrl-C then ends the wait for a key, and with it the line.
class interrupt_guard {
  public:
    interrupt_guard() {
        struct sigaction action = {};
        action.sa_handler = interrupt;
        sigaction(SIGINT, &action, &before_);
    }
    ~interrupt_guard() { sigaction(SIGINT, &before_, nullptr); }
    interrupt_guard(const interrupt_guard &) = delete;
    interrupt_guard &operator=(const interrupt_guard &) = delete;

  private:
    struct sigaction before_ = {};
};

// One after the other, then none.
extern "C" char *next_completion(const char *word, int state) {
    static std::vector<std::string> found;

    if (state == 0) {
        const auto typed = static_cast<std::size_t>(rl_point);
        const std::string line = std::string(rl_line_buffer).substr(0, typed);
        found = on_terminal->completions(line.substr(0, line.size() - std::strlen(word)), word);
        const bool goes_on = found.size() == 1 && found[0].ends_with("+0x");
        rl_completion_append_character = static_cast<unsigned char>(goes_on ? '\0' : ' ');
    }
    return static_cast<std::size_t>(state) < found.size()
               ? strdup(found[static_cast<std::size_t>(state)].c_str())
               : nullptr;
}

extern "C" char **complete(const char *word, int, int) {
    rl_attempted_completion_over = 1;  // or else it would offer files
    return rl_completion_matches(word, next_completion);
}

}  // namespace

std::vector<std::string> console::completions(const std::string &start,
                                              const std::string &word) const {
    std::string_view rest = start;
    const std::string name = next_word(rest);
    std::vector<std::string> all;

    if (name.empty() || name == "help") {
        for (const command &entry : commands()) {
            all.emplace_back(entry.name);
        }
    } else if (name == "cat" || name == "write") {
        for (const host::attribute_info &attribute : target_.machine().attributes()) {
            all.push_back(attribute.name);
        }
    } else if (name == "scenario") {
        all = scenario_names(target_.soc());
    } else if (name == "trace") {
        all = {"on", "off", "show"};
    } else if (name == "fail") {
        all = {"alloc", "map", "node", "attr", "mask", "clear"};
    } else {
        for (const auto &node : target_.machine().tree().nodes()) {
            if (!node->reg.empty()) {
                all.push_back(node->name + (name == "hang" ? "" : "+0x"));
            }
        }
    }
    std::erase_if(all, [&word](const std::string &each) { return !each.starts_with(word); });
    return all;
}

void console::run_interactively() {
    const interrupt_guard guard;

    on_terminal = this;
    on_terminal_ = true;
    using_history();
    rl_attempted_completion_function = complete;
    rl_completer_word_break_characters = const_cast<char *>(" \t");
    out_ << "ovk_bw " OVK_VERSION " on " << (target_.soc().empty() ? "a chip" : target_.soc())
         << ", " << (target_.scenario().empty() ? "no traffic" : target_.scenario())
         << ". load loads the module, help lists the commands, TAB completes.\n"
         << std::flush;
    while (!ended_) {
        const std::unique_ptr<char, decltype(&std::free)> line(readline(prompt), &std::free);
        if (interrupted != 0) {
            interrupted = 0;
            out_ << "\n";
            continue;
        }
        if (!line) {
            out_ << "\n";
            return;
        }
        if (*line != '\0') {
            add_history(line.get());
        }
        execute(line.get());
        tell_oopses();
        out_.flush();
    }
}

void console::tell_oopses() {
    for (const std::string &oops : counted(target_.machine().take_oopses())) {
        out_ << "oops: " << oops << "\n";
        oopses_ = true;
    }
}

void console::report(const std::string &action, long code) {
    if (code >= 0) {
        return;
    }
    succeeded_ = false;
    out_ << "error: " << action << ": ";
    if (!on_terminal_) {
        out_ << code << "\n";
    } else if (code == -ENOENT && !target_.machine().loaded()) {
        out_ << "not loaded (see load)\n";
    } else {
        out_ << error_name(code) << "\n";
    }
}

void console::load(const words &) {
    report("load", target_.machine().load());
}

void console::unload(const words &) {
    report("unload", target_.machine().unload());
}

void console::ls(const words &) {
    for (const host::attribute_info &attribute : target_.machine().attributes()) {
        out_ << mode_text(attribute.mode) << " " << attribute.name << "\n";
    }
}

void console::cat(const words &attributes) {
    for (const std::string &attribute : attributes) {
        const host::machine::read_result result = target_.machine().read(attribute);
        out_ << result.text;
        report(attribute + ": read", result.code);
    }
}

void console::write(const words &arguments) {
    report(arguments[0] + ": write", target_.machine().write(arguments[0], arguments[1] + "\n"));
}

void console::dmesg(const words &) {
    for (const host::log_line &line : target_.machine().take_log()) {
        out_ << "<" << line.level << ">" << line.text << "\n";
    }
}

void console::trace(const words &arguments) {
    if (arguments[0] == "show") {
        for (const host::trace_entry &entry : target_.machine().take_trace()) {
            out_ << entry.text() << "\n";
        }
    } else if (arguments[0] == "on" || arguments[0] == "off") {
        if (arguments[0] == "on") {
            target_.machine().take_trace();
        }
        target_.machine().set_tracing(arguments[0] == "on");
    } else {
        throw usage_error("trace on, trace off or trace show expected");
    }
}

void console::peek(const words &arguments) {
    const unsigned width = arguments.size() > 1 ? parse_width(arguments[1]) : default_width;

    out_ << full_width(target_.chip().peek(target_.address_of(arguments[0]), width), width) << "\n";
}

void console::poke(const words &arguments) {
    const unsigned width = arguments.size() > 2 ? parse_width(arguments[2]) : default_width;

    target_.chip().poke(target_.address_of(arguments[0]), width,
                        parse_number(arguments[1], UINT64_MAX >> (64 - width)));
}

void console::pin(const words &arguments) {
    target_.chip().pin(target_.address_of(arguments[0]),
                       static_cast<std::uint32_t>(parse_number(arguments[1], UINT32_MAX)));
}

void console::unpin(const words &arguments) {
    target_.chip().unpin(target_.address_of(arguments[0]));
}

void console::hang(const words &arguments) {
    if (!target_.chip().hang(arguments[0])) {
        throw usage_error("a node that reports done (effi_monitorN, emi_cenN) expected, not '" +
                          arguments[0] + "'");
    }
}

void console::scenario(const words &arguments) {
    target_.set_scenario(arguments[0]);
}

void console::fail(const words &arguments) {
    host::machine &machine = target_.machine();
    const std::string &kind = arguments[0];

    if (kind == "clear" && arguments.size() == 1) {
        machine.clear_faults();
    } else if (kind == "mask" && arguments.size() == 1) {
        machine.fail_named(host::fault_kind::mask, {});
    } else if (kind == "alloc" && arguments.size() == 2) {
        machine.fail_nth(host::fault_kind::allocation, parse_count(arguments[1]));
    } else if (kind == "map" && arguments.size() == 2) {
        machine.fail_named(host::fault_kind::mapping, arguments[1]);
    } else if (kind == "node" && arguments.size() == 2) {
        machine.fail_named(host::fault_kind::node, arguments[1]);
    } else if (kind == "attr" && arguments.size() == 2) {
        machine.fail_named(host::fault_kind::attribute, arguments[1]);
    } else {
        throw usage_error(
            "fail alloc N, fail map NODE, fail node NODE, fail attr ATTR, fail mask or fail clear "
            "expected");
    }
}

void console::clock(const words &) {
    out_ << target_.machine().now_us() << "\n";
}

void console::suspend(const words &) {
    report("suspend", target_.machine().suspend());
}

void console::resume(const words &) {
    report("resume", target_.machine().resume());
}

void console::print_help(const words &arguments) {
    const std::string text = help(arguments.empty() ? "" : arguments[0]);

    if (text.empty()) {
        throw usage_error("a command expected (see help), not '" + arguments[0] + "'");
    }
    out_ << text;
}

void console::quit(const words &) {
    ended_ = true;
}

}  // namespace sim
