// SPDX-License-Identifier: GPL-2.0-only
// ovk plot: recordings as a page.
#include "ovk/base/whole_file.h"
#include "ovk/command/commands.h"
#include "ovk/command/numbers.h"
#include "ovk/plot/page.h"

namespace ovk {

namespace {

struct plot_request {
    std::vector<std::string> recordings;
    std::string output;
    std::optional<double> penalty_percent;
};

void run_plot(const plot_request &wanted) {
    write_whole_file(wanted.output, page_of(wanted.recordings, wanted.penalty_percent));
}

}  // namespace

void add_plot(CLI::App &app, context &) {
    const auto wanted = std::make_shared<plot_request>();
    CLI::App *command = app.add_subcommand("plot", "Draw a recording, or two over each other");

    command->add_option("RECORDING", wanted->recordings, "What ovk record wrote")
        ->required()
        ->expected(1, 2);
    command->add_option("-o,--output", wanted->output, "Page to write, HTML")->required();
    command
        ->add_option("--penalty", wanted->penalty_percent,
                     "Percent above which the verdict is DANGER (default: by the verdicts)")
        ->transform(percentage());
    command->callback([wanted] { run_plot(*wanted); });
}

}  // namespace ovk
