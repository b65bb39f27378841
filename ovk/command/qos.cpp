// SPDX-License-Identifier: GPL-2.0-only
// ovk qos: settings to a file and back.
#include "ovk/command/commands.h"
#include "ovk/qos/restore.h"

namespace ovk {

namespace {

struct qos_request {
    std::string file;
    bool dry_run = false;
    unsigned cpu_mode = 1;
};

void tell_unreadable(context &shared, const std::vector<std::string> &unreadable,
                     const char *what) {
    for (const std::string &each : unreadable) {
        shared.err << "ovk: " << what << ": " << each << "\n";
    }
}

void run_save(context &shared, const qos_request &wanted) {
    const auto from = shared.open();
    const qos_file content = describe_settings(*from);

    write_qos_file(wanted.file, content);
    tell_unreadable(shared, content.settings.unreadable, "not saved");
}

restore_plan plan_of(context &shared, source &where, const qos_request &wanted) {
    const qos_file file = read_qos_file(wanted.file);
    restore_plan plan = plan_restore(where, file, wanted.cpu_mode);

    tell_unreadable(shared, file.settings.unreadable, "not in the file");
    return plan;
}

void print_changes(context &shared, const restore_plan &plan) {
    for (const change &each : plan.found.changes) {
        shared.out << words_for(each) << "\n";
    }
}

// Now, then as in the file.
void run_diff(context &shared, const qos_request &wanted) {
    const auto from = shared.open();
    const restore_plan plan = plan_of(shared, *from, wanted);

    print_changes(shared, plan);
    tell_unreadable(shared, plan.found.unknown, "can't be read now");
    shared.status = !plan.found.changes.empty()   ? exit_status::condition
                    : !plan.found.unknown.empty() ? exit_status::incomplete
                                                  : exit_status::good;
}

void tell_limits_of_undoing(context &shared, const restore_plan &plan) {
    for (const change &each : plan.found.changes) {
        if (each.back.empty()) {
            shared.err << "ovk: can't be undone: " << words_for(each) << "\n";
        }
    }
    if (plan.found.switches_on) {
        shared.err << "ovk: nothing shows the mode of the CPU ranges: where one is switched on, "
                      "all get mode "
                   << plan.cpu_mode << "; --cpu-mode sets another\n";
    }
}

void print_writes(context &shared, const restore_plan &plan) {
    for (const change &each : plan.found.changes) {
        for (const attribute_write &write : each.writes) {
            shared.out << "write " << write.attribute << " " << write.text << "\n";
        }
    }
}

void run_restore(context &shared, const qos_request &wanted) {
    const auto to = shared.open();
    const restore_plan plan = plan_of(shared, *to, wanted);

    check_plan(plan);
    tell_limits_of_undoing(shared, plan);
    if (wanted.dry_run) {
        print_writes(shared, plan);
        return;
    }
    carry_out(*to, plan);
    print_changes(shared, plan);
}

CLI::App *add_part(CLI::App *group, const char *name, const char *what,
                   const std::shared_ptr<qos_request> &wanted) {
    CLI::App *part = group->add_subcommand(name, what);
    part->add_option("FILE", wanted->file, "File of settings")->required();
    return part;
}

}  // namespace

void add_qos(CLI::App &app, context &shared) {
    const auto wanted = std::make_shared<qos_request>();
    CLI::App *group = app.add_subcommand("qos", "Save limits and priorities, and restore them");

    group->require_subcommand(1);
    add_part(group, "save", "Write the settings down", wanted)->callback([&shared, wanted] {
        run_save(shared, *wanted);
    });
    add_part(group, "diff", "Print what differs from the file; status 1 when something does",
             wanted)
        ->callback([&shared, wanted] { run_diff(shared, *wanted); });
    CLI::App *restore = add_part(group, "restore", "Put the settings back, all or none", wanted);
    restore->add_flag("--dry-run", wanted->dry_run, "Print the writes, and make none");
    restore->add_option("--cpu-mode", wanted->cpu_mode, "Mode of the CPU ranges (default 1)")
        ->check(CLI::Range(1, 2));
    restore->callback([&shared, wanted] { run_restore(shared, *wanted); });
}

}  // namespace ovk
