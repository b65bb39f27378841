// SPDX-License-Identifier: GPL-2.0-only
// ovk export: a recording for other programs.
#include "ovk/base/whole_file.h"
#include "ovk/command/commands.h"
#include "ovk/report/trace_events.h"

namespace ovk {

namespace {

struct export_request {
    std::string recording;
    std::string format;
    std::string output;
};

void run_export(context &shared, const export_request &wanted) {
    const std::string text = trace_of(wanted.recording);

    if (wanted.output.empty()) {
        shared.out << text << std::flush;
    } else {
        write_whole_file(wanted.output, text);
    }
}

}  // namespace

void add_export(CLI::App &app, context &shared) {
    const auto wanted = std::make_shared<export_request>();
    CLI::App *command = app.add_subcommand("export", "Turn a recording into what others open");

    command->add_option("RECORDING", wanted->recording, "What ovk record wrote")->required();
    command->add_option("--format", wanted->format, "trace: trace events for Perfetto")
        ->required()
        ->check(CLI::IsMember({"trace"}));
    command->add_option("-o,--output", wanted->output, "File (default: standard output)");
    command->callback([&shared, wanted] { run_export(shared, *wanted); });
}

}  // namespace ovk
