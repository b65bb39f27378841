// SPDX-License-Identifier: GPL-2.0-only
// ovk doctor: what is wrong with the reports, a line each, and what to do.
#include "ovk/doctor/doctor.h"

#include "ovk/command/commands.h"
#include "ovk/report/render.h"

namespace ovk {

namespace {

const char *word_for(health found) {
    return found == health::good ? "ok     " : found == health::wrong ? "WRONG  " : "?      ";
}

void run_doctor(context &shared) {
    const auto where = shared.open();

    for (const finding &each : examine(*where)) {
        shared.out << word_for(each.found) << each.subject << ": " << printable(each.what)
                   << (each.next.empty() ? "" : "; " + each.next) << "\n";
        if (each.found == health::wrong) {
            shared.status = exit_status::condition;
        }
    }
}

}  // namespace

void add_doctor(CLI::App &app, context &shared) {
    app.add_subcommand("doctor", "Tell what is wrong with the reports, and what to do")
        ->callback([&shared] { run_doctor(shared); });
}

}  // namespace ovk
