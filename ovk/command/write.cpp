// SPDX-License-Identifier: GPL-2.0-only
// ovk write: a text to an attribute, and whether the module took it.
#include "ovk/command/commands.h"
#include "ovk/source/refusal.h"
#include "ovk/source/system_error.h"

namespace ovk {

namespace {

struct write_request {
    std::string attribute;
    std::string text;
};

void run_write(context &shared, const write_request &wanted) {
    const auto to = shared.open();
    const answer came = to->write(wanted.attribute, wanted.text);

    if (came.error != 0) {
        throw refused_access(*to, wanted.attribute, "write", came.error);
    }
    const judgement judged = judge_write(*to, wanted.attribute, wanted.text);
    const std::string place = to->name() + ": " + wanted.attribute + ": ";
    if (judged.found == verdict::refused) {
        throw failure(exit_status::refused,
                      place + "write: not taken: " + judged.why +
                          "; docs/attributes.md tells what the attribute takes");
    }
    if (judged.found == verdict::unknown) {
        shared.err << "ovk: " << place
                   << "written; whether it was taken is unknown, as the kernel log can't be read\n";
    }
}

}  // namespace

void add_write(CLI::App &app, context &shared) {
    const auto wanted = std::make_shared<write_request>();
    CLI::App *command = app.add_subcommand("write", "Write a text to an attribute, as it stands");

    command->add_option("ATTRIBUTE", wanted->attribute, "Attribute to write")->required();
    command->add_option("TEXT", wanted->text, "What to write")->required();
    command->callback([&shared, wanted] { run_write(shared, *wanted); });
}

}  // namespace ovk
