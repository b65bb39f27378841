// SPDX-License-Identifier: GPL-2.0-only
// ovk read: the bytes of an attribute as they are.
#include "ovk/command/commands.h"
#include "ovk/source/system_error.h"

namespace ovk {

static void run_read(context &shared, const std::string &attribute) {
    const auto from = shared.open();
    const answer came = from->read(attribute);

    if (came.error != 0) {
        throw refused_access(*from, attribute, "read", came.error);
    }
    shared.out << came.text << std::flush;
}

void add_read(CLI::App &app, context &shared) {
    const auto attribute = std::make_shared<std::string>();
    CLI::App *command = app.add_subcommand("read", "Print what a read of an attribute yields");

    command->add_option("ATTRIBUTE", *attribute, "Attribute to read")->required();
    command->callback([&shared, attribute] { run_read(shared, *attribute); });
}

}  // namespace ovk
