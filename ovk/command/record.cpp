// SPDX-License-Identifier: GPL-2.0-only
// ovk record: reports in rounds, each operation written down as it was.
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "ovk/base/interrupt.h"
#include "ovk/command/commands.h"
#include "ovk/command/numbers.h"
#include "ovk/report/report_kinds.h"
#include "ovk/report/sweep.h"
#include "ovk/report/trace_events.h"
#include "ovk/source/attribute_names.h"
#include "ovk/source/recorder.h"

namespace ovk {

namespace {

constexpr std::int64_t ns_per_s = 1'000'000'000;

struct record_request {
    std::string file;
    std::int64_t every_ns = ns_per_s;
    std::int64_t for_ns = -1;  // below 0: no end
    std::uint64_t count = 0;   // 0: no end
    std::vector<std::string> reports = {"total"};
    bool marker = false;
};

// One line on the terminal, or none elsewhere; errors come once for each attribute.
class progress {
  public:
    explicit progress(context &shared) : shared_(shared) {}
    ~progress() { end_line(); }
    progress(const progress &) = delete;
    progress &operator=(const progress &) = delete;

    void tell(std::uint64_t rounds, std::int64_t took_ns, std::size_t bytes) {
        if (shared_.terminal) {
            shared_.err << "\r" << rounds << " rounds, " << took_ns / ns_per_s << " s, "
                        << bytes / 1024 << " KiB" << std::flush;
            open_ = true;
        }
    }

    void tell_error(const char *attribute, int error) {
        if (error != 0 && told_.insert({attribute, error}).second) {
            end_line();
            shared_.err << "ovk: " << attribute << ": read: " << std::strerror(error)
                        << " (recorded as such)" << std::endl;
        }
    }

  private:
    void end_line() {
        if (open_) {
            shared_.err << std::endl;
        }
        open_ = false;
    }

    context &shared_;
    bool open_ = false;
    std::set<std::pair<std::string, int>> told_;
};

void mark(source &from, const any_report &report) {
    if (!from.mark_trace(marker_lines(report, getpid()))) {
        throw failure(exit_status::unreachable,
                      from.name() + ": " + trace_marker_file +
                          ": can't be written; mount tracefs there, or leave out --marker");
    }
}

void take_round(source &from, const record_request &wanted, progress &shown) {
    for (const std::string &report : wanted.reports) {
        throw_if_interrupted();
        const sweep taken = take_sweep(from, report);
        shown.tell_error(taken.attribute, taken.error);
        if (wanted.marker && taken.report) {
            mark(from, *taken.report);
        }
    }
}

// A round that takes longer than --every is followed by the next at once.
void record_rounds(source &from, const record_request &wanted, const recording_writer &to,
                   progress &shown) {
    const std::int64_t start = from.now();
    std::int64_t next = start;

    for (std::uint64_t done = 0; wanted.count == 0 || done < wanted.count; ++done) {
        if (wanted.for_ns >= 0 && next - start >= wanted.for_ns) {
            return;
        }
        from.wait_until(next);
        take_round(from, wanted, shown);
        shown.tell(done + 1, from.now() - start, to.bytes());
        next = std::max(next + wanted.every_ns, from.now());
    }
}

void run_record(context &shared, const record_request &wanted) {
    shared.check_output(wanted.file);
    const auto from = shared.open();
    recording_writer to(wanted.file, describe_source(*from));
    recorder both(*from, to);
    progress shown(shared);

    record_rounds(both, wanted, to, shown);
}

std::vector<std::string> names_of_reports() {
    std::vector<std::string> names;
    for (const report_kind &each : report_kinds) {
        names.emplace_back(each.name);
    }
    return names;
}

}  // namespace

void add_record(CLI::App &app, context &shared) {
    const auto wanted = std::make_shared<record_request>();
    CLI::App *command = app.add_subcommand("record", "Write reports down, round after round");

    command->add_option("-o,--output", wanted->file, "File to write, JSON Lines")->required();
    command->add_option("--every", wanted->every_ns, "From one round to the next (default 1s)")
        ->transform(duration())
        ->check(up_to_a_year());
    auto *limit = command->add_option("--for", wanted->for_ns, "How long (default: until Ctrl-C)")
                      ->transform(duration())
                      ->check(up_to_a_year());
    command->add_option("--count", wanted->count, "How many rounds")
        ->check(positive<std::uint64_t>())
        ->excludes(limit);
    command->add_option("--reports", wanted->reports, "What a round reads (default total)")
        ->delimiter(',')
        ->check(CLI::IsMember(names_of_reports()));
    command->add_flag("--marker", wanted->marker,
                      "Write the figures into the device's trace_marker, too");
    command->callback([&shared, wanted] { run_record(shared, *wanted); });
}

}  // namespace ovk
