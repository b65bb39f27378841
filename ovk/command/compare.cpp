// SPDX-License-Identifier: GPL-2.0-only
// ovk compare: what is other in the second of two recordings.
#include "ovk/compare/comparison.h"

#include "ovk/command/commands.h"
#include "ovk/command/numbers.h"

namespace ovk {

namespace {

struct compare_request {
    std::string before;
    std::string after;
    std::string format = "text";
    std::optional<double> max_increase_percent;
};

void run_compare(context &shared, const compare_request &wanted) {
    const comparison result =
        compare_recordings(wanted.before, wanted.after, wanted.max_increase_percent, wanted.format);

    shared.out << result.text << std::flush;
    if (result.exceeded != 0) {
        shared.status = exit_status::condition;
    }
}

}  // namespace

void add_compare(CLI::App &app, context &shared) {
    const auto wanted = std::make_shared<compare_request>();
    CLI::App *command = app.add_subcommand("compare", "Print how two recordings differ");

    command->add_option("A", wanted->before, "Recording to compare with")->required();
    command->add_option("B", wanted->after, "Recording that is compared")->required();
    command->add_option("--format", wanted->format, "How (default text)")
        ->check(CLI::IsMember({"text", "json", "csv"}));
    command
        ->add_option("--max-increase", wanted->max_increase_percent,
                     "Status 1 when a figure has grown by more percent")
        ->transform(percentage());
    command->callback([&shared, wanted] { run_compare(shared, *wanted); });
}

}  // namespace ovk
