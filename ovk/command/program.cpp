// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/command/program.h"

#include <cerrno>
#include <cstring>
#include <exception>

#include "ovk/command/commands.h"
#include "platform/version.h"

namespace ovk {

namespace {

// In the order of the help.
constexpr void (*commands[])(CLI::App &, context &) = {
    add_read,  add_report, add_write,  add_record, add_compare, add_qos,
    add_watch, add_plot,   add_export, add_top,    add_doctor,
};

constexpr const char *footer =
    "Sources: sysfs[:DIR], ssh:[USER@]HOST, adb[:SERIAL], exec:COMMAND, sim:CHIP[,SCENARIO], "
    "file:RECORDING.\n"
    "Exit status: 0 good; 1 a condition that was asked for is true; 2 usage; 3 source not "
    "reachable; 4 incomplete, or a replay that differs; 5 refused; 130 interrupted.";

int to_int(exit_status status) {
    return static_cast<int>(status);
}

void describe(CLI::App &app, context &shared) {
    app.set_version_flag("--version", std::string("ovk ") + OVK_VERSION);
    app.add_option("-s,--source", shared.source_name,
                   "Where the attributes are (default: this machine)")
        ->envname("OVK_SOURCE");
    app.require_subcommand(1);
    app.fallthrough();
    app.footer(footer);
    for (const auto add : commands) {
        add(app, shared);
    }
}

int parse_and_run(int argc, const char *const *argv, context &shared) {
    CLI::App app("Reports of the ovk_bw kernel module as data.", "ovk");

    describe(app, shared);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        const int code = app.exit(error, shared.out, shared.err);
        return to_int(code == 0 ? exit_status::good : exit_status::usage);
    }
    if (!shared.out.flush()) {
        throw failure(exit_status::usage,
                      std::string("standard output: can't be written: ") + std::strerror(errno));
    }
    return to_int(shared.status);
}

}  // namespace

int run_program(int argc, const char *const *argv, std::ostream &out, std::ostream &err,
                bool terminal) {
    context shared{out, err, terminal};

    try {
        return parse_and_run(argc, argv, shared);
    } catch (const failure &error) {
        err << "ovk: " << error.what() << std::endl;
        return to_int(error.status());
    } catch (const std::exception &error) {
        err << "ovk: " << error.what() << std::endl;
        return to_int(exit_status::unreachable);
    }
}

}  // namespace ovk
