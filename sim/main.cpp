// SPDX-License-Identifier: GPL-2.0-only
// ovk-sim: the module on a simulated chip.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>

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

    std::vector<std::string> attributes = {"bw_total"};  // cat
    std::vector<std::string> write;                      // attribute and text
    std::string script;                                  // console
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

// Calls `use` on the loaded module.
template <class F>
int with_module(sim::simulator &simulator, F use) {
    const int error = simulator.machine().load();

    if (error != 0) {
        std::cerr << "error: load: " << error << "\n";
        print_log(simulator);
        return exit_failed;
    }
    simulator.machine().take_log();
    const bool good = use(simulator.machine());
    print_log(simulator);
    simulator.machine().unload();
    return good ? exit_ok : exit_failed;
}

bool cat(host::machine &machine, const std::vector<std::string> &attributes) {
    bool good = true;

    for (const std::string &attribute : attributes) {
        const host::machine::read_result result = machine.read(attribute);
        std::cout << result.text << std::flush;
        if (result.code < 0) {
            std::cerr << "error: " << attribute << ": read: " << result.code << "\n";
            good = false;
        }
    }
    return good;
}

bool write(host::machine &machine, const std::string &attribute, const std::string &text) {
    const long code = machine.write(attribute, text + "\n");

    if (code < 0) {
        std::cerr << "error: " << attribute << ": write: " << code << "\n";
    }
    return code >= 0;
}

int run_console(sim::simulator &simulator, const std::string &script) {
    sim::console console(simulator, std::cout);

    if (!script.empty()) {
        std::ifstream file(script);
        if (!file || std::filesystem::is_directory(script)) {
            std::cerr << "error: " << script << ": a readable file expected\n";
            return exit_unusable;
        }
        console.run(file);
    } else if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) {
        console.run_interactively();
        return exit_ok;
    } else {
        console.run(std::cin);
    }
    return console.understood_all() ? exit_ok : exit_failed;
}

int report_oopses(sim::simulator &simulator) {
    const std::vector<std::string> oopses = simulator.machine().take_oopses();

    for (const std::string &oops : oopses) {
        std::cerr << "oops: " << oops << "\n";
    }
    return oopses.empty() ? exit_ok : exit_oops;
}

int execute(const CLI::App &app, const request &wanted) {
    sim::simulator simulator(setup_for(wanted));
    apply_scenario(simulator, wanted);
    int status = exit_ok;

    if (app.got_subcommand("console")) {
        status = run_console(simulator, wanted.script);
        simulator.machine().unload();
    } else if (app.got_subcommand("write")) {
        status = with_module(simulator, [&wanted](host::machine &machine) {
            return write(machine, wanted.write[0], wanted.write[1]);
        });
    } else {
        status = with_module(simulator, [&wanted](host::machine &machine) {
            return cat(machine, wanted.attributes);
        });
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

    auto *cat = app.add_subcommand("cat", "Load, read attributes, unload (default: cat bw_total)");
    cat->add_option("ATTR", wanted.attributes, "Attributes to read")->required();
    auto *write = app.add_subcommand("write", "Load, write a text and a newline, unload");
    write->add_option("ATTR_TEXT", wanted.write, "Attribute and text")->expected(2)->required();
    auto *console = app.add_subcommand(
        "console", "Run commands from FILE or standard input; the module is not loaded yet");
    console->add_option("FILE", wanted.script, "Script, a command a line");
    app.require_subcommand(0, 1);
    app.footer("Console commands:\n" + sim::console::help() +
               "\nExit status: 0 success; 1 the module reported a failure, or a line of the script "
               "was not understood; 2 command line, tree, scenario or script can't be used; 3 the "
               "module did what a kernel does not survive.\nTraces, scenario files and the rest: "
               "docs/ovk-sim.1 and docs/scenarios.md.");
}

}  // namespace

static int run(int argc, char **argv) {
    CLI::App app("The ovk_bw kernel module on a simulated chip.", "ovk-sim");
    request wanted;

    describe(app, wanted);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
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
