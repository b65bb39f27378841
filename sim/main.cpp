// SPDX-License-Identifier: GPL-2.0-only
// ovk-sim: the module on a simulated chip.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>

#include "platform/version.h"
#include "sim/console.h"
#include "sim/simulator.h"

namespace {

constexpr int exit_ok = 0;
constexpr int exit_failed = 1;    // the module, or a command of the script, reported a failure
constexpr int exit_unusable = 2;  // command line, tree, scenario or script can't be used
constexpr int exit_oops = 3;      // the module did what a kernel does not survive

struct request {
    std::string soc = "zt430";
    std::string tree_file;
    std::string scenario;
    std::vector<std::uint32_t> dram_freq;
    bool realtime = false;

    std::vector<std::string> attributes = {"bw_total"};  // cat, trace
    bool plain = false;                                  // cat
    std::vector<std::string> write;                      // attribute and the words of the text
    std::string script;                                  // console
    bool strict = false;                                 // console
};

sim::setup setup_for(const request &wanted) {
    const bool foreign = !wanted.tree_file.empty();

    return {.tree = foreign ? devicetree::flat_tree::from_file(wanted.tree_file)
                            : sim::chip_tree(wanted.soc),
            .soc = foreign ? "" : wanted.soc,
            .dram_freq = wanted.dram_freq,
            .realtime = wanted.realtime};
}

void apply_scenario(sim::simulator &simulator, const request &wanted) {
    if (!wanted.scenario.empty()) {
        simulator.set_scenario(wanted.scenario);
    } else if (wanted.tree_file.empty()) {
        simulator.set_scenario("playback");
    }
}

void print_log(sim::simulator &simulator) {
    for (const host::log_line &line : simulator.machine().take_log()) {
        std::cerr << "<" << line.level << ">" << line.text << "\n";
    }
}

// Calls `use` on the loaded module. What the load logged is forgotten, unless it is wanted.
template <class F>
int with_module(sim::simulator &simulator, F use, bool log_wanted = false) {
    const int error = simulator.machine().load();

    if (error != 0) {
        std::cerr << "error: load: " << sim::error_name(error) << "\n";
        print_log(simulator);
        return exit_failed;
    }
    if (!log_wanted) {
        simulator.machine().take_log();
    }
    const bool good = use(simulator.machine());
    print_log(simulator);
    simulator.machine().unload();
    return good ? exit_ok : exit_failed;
}

// The text without terminal control. Blanks alone in reverse video are a bar: # draws it.
std::string plain_text(const std::string &text) {
    const std::string reverse = "\033[7m";
    std::string result;

    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '\033') {
            result += text[at++];
            continue;
        }
        const bool begins_reverse = text.compare(at, reverse.size(), reverse) == 0;
        while (at < text.size() && std::isalpha(static_cast<unsigned char>(text[at++])) == 0) {
        }
        const std::size_t end = std::min(text.find('\033', at), text.size());
        if (begins_reverse && text.find_first_not_of(' ', at) >= end) {
            result.append(end - at, '#');
            at = end;
        }
    }
    return result;
}

// What a newcomer can't know of a report.
void remark_on(const std::string &attribute, const std::string &text) {
    constexpr std::size_t longest_report = 4095;

    if (text.size() == longest_report) {
        std::cerr << attribute << ": cut at " << longest_report << " characters"
                  << (attribute == "bw_total" ? "; simple_mon is shorter" : "") << "\n";
    } else if (attribute == "reg_op" && text.empty()) {
        std::cerr << "reg_op: shows registers from an address on that is written before, in the "
                     "console: write reg_op 0x1c000000\n";
    }
}

bool cat(host::machine &machine, const request &wanted) {
    bool good = true;

    for (const std::string &attribute : wanted.attributes) {
        const host::machine::read_result result = machine.read(attribute);
        if (wanted.attributes.size() > 1) {
            std::cout << "==> " << attribute << " <==\n";
        }
        std::cout << (wanted.plain ? plain_text(result.text) : result.text) << std::flush;
        if (result.code < 0) {
            std::cerr << "error: " << attribute << ": read: " << sim::error_name(result.code)
                      << "\n";
            good = false;
        } else {
            remark_on(attribute, result.text);
        }
    }
    return good;
}

bool write(host::machine &machine, const std::vector<std::string> &words) {
    std::string text;
    for (std::size_t i = 1; i < words.size(); ++i) {
        text += (i > 1 ? " " : "") + words[i];
    }
    const long code = machine.write(words[0], text + "\n");

    if (code < 0) {
        std::cerr << "error: " << words[0] << ": write: " << sim::error_name(code) << "\n";
        return false;
    }
    std::cerr << "the module is unloaded now, and what was written has gone with it; the console "
                 "keeps it loaded\n";
    return true;
}

bool list(host::machine &machine) {
    for (const host::attribute_info &attribute : machine.attributes()) {
        std::cout << attribute.name << "\n";
    }
    return true;
}

bool print_load_log(host::machine &machine) {
    for (const host::log_line &line : machine.take_log()) {
        std::cout << "<" << line.level << ">" << line.text << "\n";
    }
    return true;
}

bool trace(host::machine &machine, const request &wanted) {
    bool good = true;

    machine.set_tracing(true);
    for (const std::string &attribute : wanted.attributes) {
        const long code = machine.read(attribute).code;
        if (code < 0) {
            std::cerr << "error: " << attribute << ": read: " << sim::error_name(code) << "\n";
            good = false;
        }
    }
    machine.set_tracing(false);
    for (const host::trace_entry &entry : machine.take_trace()) {
        std::cout << entry.text() << "\n";
    }
    return good;
}

int run_console(sim::simulator &simulator, const request &wanted) {
    sim::console console(simulator, std::cout);

    if (!wanted.script.empty()) {
        std::ifstream file(wanted.script);
        if (!file || std::filesystem::is_directory(wanted.script)) {
            std::cerr << "error: " << wanted.script << ": a readable file expected\n";
            return exit_unusable;
        }
        console.run(file);
    } else if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) {
        console.run_interactively();
        return console.had_oopses() ? exit_oops : exit_ok;
    } else {
        console.run(std::cin);
    }
    const bool good = console.understood_all() && (!wanted.strict || console.succeeded_all());
    return good ? exit_ok : exit_failed;
}

int report_oopses(sim::simulator &simulator) {
    const std::vector<std::string> oopses = simulator.machine().take_oopses();

    for (const std::string &oops : sim::counted(oopses)) {
        std::cerr << "oops: " << oops << "\n";
    }
    return oopses.empty() ? exit_ok : exit_oops;
}

int execute(const CLI::App &app, const request &wanted) {
    sim::simulator simulator(setup_for(wanted));
    apply_scenario(simulator, wanted);
    int status = exit_ok;

    if (app.got_subcommand("console")) {
        status = run_console(simulator, wanted);
        simulator.machine().unload();
    } else if (app.got_subcommand("write")) {
        status = with_module(
            simulator, [&wanted](host::machine &machine) { return write(machine, wanted.write); });
    } else if (app.got_subcommand("ls")) {
        status = with_module(simulator, list);
    } else if (app.got_subcommand("dmesg")) {
        status = with_module(simulator, print_load_log, true);
    } else if (app.got_subcommand("trace")) {
        status = with_module(simulator,
                             [&wanted](host::machine &machine) { return trace(machine, wanted); });
    } else {
        status = with_module(simulator,
                             [&wanted](host::machine &machine) { return cat(machine, wanted); });
    }
    const int oops = report_oopses(simulator);
    return oops != exit_ok ? oops : status;
}

void describe(CLI::App &app, request &wanted) {
    auto *soc = app.add_option("--soc", wanted.soc, "Chip: " + sim::listed(sim::chip_names()));
    soc->capture_default_str();
    app.add_option("--dtb", wanted.tree_file,
                   "Device tree of another chip, .dts or .dtb; registers that the model does not "
                   "know are memory")
        ->excludes(soc)
        ->check(CLI::ExistingFile);
    app.add_option("--scenario", wanted.scenario,
                   "Traffic: idle, playback, graphics, overload, or a file (default: playback, "
                   "with --dtb none)");
    app.add_option("--dram-freq", wanted.dram_freq,
                   "DRAM channel frequencies in MT/s, F,F,... (default: the tree's)")
        ->delimiter(',');
    app.add_flag("--realtime", wanted.realtime, "Measuring takes its time on the wall clock too");

    app.set_version_flag("--version", "ovk-sim " OVK_VERSION);

    auto *cat = app.add_subcommand("cat", "Load, read attributes, unload (default: cat bw_total)");
    cat->add_option("ATTR", wanted.attributes, "Attributes to read")->required();
    for (CLI::App *reader : {&app, cat}) {
        reader->add_flag("--plain", wanted.plain, "Print reports without terminal control");
    }
    auto *write = app.add_subcommand("write", "Load, write a text and a newline, unload");
    write->add_option("ATTR_TEXT", wanted.write, "Attribute, and the text's words")
        ->expected(2, CLI::detail::expected_max_vector_size)
        ->required();
    app.add_subcommand("ls", "Load, list the attributes, unload");
    app.add_subcommand("dmesg", "Load, print what that logged, unload");
    auto *trace = app.add_subcommand("trace", "Load, print the register accesses of reads, unload");
    trace->add_option("ATTR", wanted.attributes, "Attributes to read (default: bw_total)");
    auto *console = app.add_subcommand(
        "console", "Run commands from FILE or standard input; the module is not loaded yet");
    console->add_option("FILE", wanted.script, "Script, a command a line");
    console->add_flag("--strict", wanted.strict,
                      "A load, write or other command that fails makes the script fail");
    app.require_subcommand(0, 1);
    app.footer(
        "Console commands:\n" + sim::console::help() +
        "\nExit status: 0 success; 1 the module reported a failure (in a script with --strict "
        "only), or a line of the script was not understood; 2 command line, tree, scenario or "
        "script can't be used; 3 the "
        "module did what a kernel does not survive.\nTraces, scenario files and the rest: "
        "docs/ovk-sim.1 and docs/scenarios.md.");
}

}  // namespace

// Whoever names an attribute in the place of a command means to read it.
static void suggest(const request &wanted, const CLI::App &app) {
    sim::simulator simulator(setup_for(wanted));

    if (simulator.machine().load() == 0) {
        for (const host::attribute_info &attribute : simulator.machine().attributes()) {
            for (const std::string &word : app.remaining(true)) {
                if (word == attribute.name) {
                    std::cerr << "did you mean: cat " << word << "?\n";
                }
            }
        }
        simulator.machine().unload();
    }
}

static int run(int argc, char **argv) {
    CLI::App app("The ovk_bw kernel module on a simulated chip.", "ovk-sim");
    request wanted;

    describe(app, wanted);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (dynamic_cast<const CLI::ExtrasError *>(&error) != nullptr) {
            suggest(wanted, app);
        }
        return app.exit(error) == 0 ? exit_ok : exit_unusable;
    }
    return execute(app, wanted);
}

int main(int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return exit_unusable;
    }
}
