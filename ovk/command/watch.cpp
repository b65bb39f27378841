// SPDX-License-Identifier: GPL-2.0-only
// ovk watch: sweeps until a condition comes true, and what came before that as a recording.
#include <algorithm>
#include <cstdlib>
#include <map>

#include "ovk/base/interrupt.h"
#include "ovk/base/run_and_wait.h"
#include "ovk/command/commands.h"
#include "ovk/command/numbers.h"
#include "ovk/report/sweep.h"
#include "ovk/watch/alarm.h"
#include "ovk/watch/flight_recorder.h"

namespace ovk {

namespace {

struct watch_request {
    std::vector<std::string> when;
    std::uint64_t in_row = 1;
    std::uint64_t keep = 60;
    std::string file;
    std::int64_t every_ns = 1'000'000'000;
    std::uint64_t count = 0;  // 0: no end
    bool repeat = false;
    std::vector<std::string> command;
};

std::vector<condition> conditions_of(const watch_request &wanted) {
    std::vector<condition> found;
    for (const std::string &each : wanted.when) {
        found.emplace_back(each);
    }
    return found;
}

std::vector<std::string> reports_of(const std::vector<condition> &conditions) {
    std::vector<std::string> names;
    for (const condition &each : conditions) {
        if (std::find(names.begin(), names.end(), each.report()) == names.end()) {
            names.push_back(each.report());
        }
    }
    return names;
}

// "alarm.jsonl", then "alarm-2.jsonl".
std::string numbered(const std::string &file, std::uint64_t number) {
    const std::size_t slash = file.rfind('/');
    const std::size_t dot = file.rfind('.');
    const std::size_t end =
        dot != file.npos && dot > 0 && (slash == file.npos || dot > slash + 1) ? dot : file.size();
    return number == 1 ? file
                       : file.substr(0, end) + "-" + std::to_string(number) + file.substr(end);
}

class watcher {
  public:
    watcher(context &shared, const watch_request &wanted)
        : shared_(shared),
          wanted_(wanted),
          alarm_(conditions_of(wanted), wanted.in_row),
          reports_(reports_of(alarm_.conditions())),
          from_(shared.open()),
          header_(describe_source(*from_)),
          kept_(wanted.keep),
          both_(*from_, kept_) {}

    void run() {
        std::int64_t next = from_->now();

        for (std::uint64_t done = 0; wanted_.count == 0 || done < wanted_.count; ++done) {
            from_->wait_until(next);
            throw_if_interrupted();
            if (look() && !wanted_.repeat) {
                return;
            }
            next = std::max(next + wanted_.every_ns, from_->now());
        }
    }

  private:
    // One sweep; whether the alarm rang.
    bool look() {
        std::map<std::string, std::vector<named_figure>> figures;
        std::vector<std::string> unknown;

        kept_.begin_sweep();
        for (const std::string &report : reports_) {
            if (const auto found = take_sweep(both_, report).report) {
                figures[report] = figures_of(*found);
            }
        }
        const truth now = alarm_.look(
            [&](const std::string &report) -> const auto & { return figures[report]; }, unknown);
        tell_unknown(unknown);
        const bool rings = alarm_.rings(now);
        if (rings) {
            ring();
        }
        return rings;
    }

    // Once for as long as it stays so.
    void tell_unknown(const std::vector<std::string> &unknown) {
        for (const std::string &figure : unknown) {
            if (std::find(unknown_.begin(), unknown_.end(), figure) == unknown_.end()) {
                shared_.err << "ovk: " << from_->name() << ": " << figure
                            << " is not known; the condition is neither true nor false"
                            << std::endl;
            }
        }
        unknown_ = unknown;
    }

    void ring() {
        const std::string file = numbered(wanted_.file, ++rung_);

        kept_.save(file, header_);
        shared_.status = exit_status::condition;
        for (const condition &each : alarm_.conditions()) {
            shared_.out << each.text() << "\n";
        }
        shared_.out << "recorded in " << file << std::endl;
        run_command(file);
    }

    // The command finds the recording's name in OVK_RECORDING. That it failed is said, and no
    // reason to stop watching.
    void run_command(const std::string &file) {
        if (wanted_.command.empty()) {
            return;
        }
        setenv("OVK_RECORDING", file.c_str(), 1);
        const std::string complaint = run_and_wait(wanted_.command);
        if (!complaint.empty()) {
            shared_.err << "ovk: " << complaint << std::endl;
        }
    }

    context &shared_;
    const watch_request &wanted_;
    alarm alarm_;
    std::vector<std::string> reports_;
    std::unique_ptr<source> from_;
    recording_header header_;
    flight_recorder kept_;
    recorder both_;
    std::vector<std::string> unknown_;
    std::uint64_t rung_ = 0;
};

}  // namespace

void add_watch(CLI::App &app, context &shared) {
    const auto wanted = std::make_shared<watch_request>();
    CLI::App *command =
        app.add_subcommand("watch", "Wait for a condition, and record what came before it");

    command
        ->add_option("--when", wanted->when,
                     "Such as 'usage_percent > 90' or 'modules.VDEC.bus_mbps >= 2000'; all of "
                     "several have to hold")
        ->required();
    command->add_option("--for", wanted->in_row, "For so many sweeps in a row (default 1)")
        ->check(positive<std::uint64_t>());
    command->add_option("--keep", wanted->keep, "Sweeps in the recording (default 60)")
        ->check(positive<std::uint64_t>());
    command->add_option("-o,--output", wanted->file, "Recording to write then")->required();
    command->add_option("--every", wanted->every_ns, "From one sweep to the next (default 1s)")
        ->transform(duration())
        ->check(up_to_a_year());
    command->add_option("--count", wanted->count, "Give up after so many sweeps")
        ->check(positive<std::uint64_t>());
    command->add_flag("--repeat", wanted->repeat, "Go on watching; recordings are numbered");
    command->add_option("COMMAND", wanted->command, "What to run then, behind --");
    command->callback([&shared, wanted] {
        shared.check_output(wanted->file);
        watcher(shared, *wanted).run();
    });
}

}  // namespace ovk
