// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/replay.h"

#include <algorithm>

#include "ovk/report/report_kinds.h"
#include "ovk/report/take.h"

namespace ovk {

namespace {

// They choose what is shown, not how the memory works.
constexpr const char *selections[] = {"simple_mon", "bw_emi_detail", "bw_larb",
                                      "larb_ostdl", "reg_op",        "debug_log_on"};

bool is_selection(const operation &done) {
    return std::find(std::begin(selections), std::end(selections), done.attribute) !=
           std::end(selections);
}

// Nothing when the operation is no read of a report.
const report_kind *kind_of(const operation &done) {
    const auto *found =
        std::find_if(std::begin(report_kinds), std::end(report_kinds),
                     [&](const report_kind &each) { return done.attribute == each.attribute; });
    return done.is_write || done.is_mark || found == std::end(report_kinds) ? nullptr : found;
}

bool is_total(const std::optional<operation> &done) {
    return done && !done->is_write && done->attribute == "bw_total" && done->came.error == 0;
}

}  // namespace

std::optional<any_report> parse_operation(const operation &done) {
    const report_kind *const found = kind_of(done);

    if (found == nullptr || done.came.error != 0) {
        return std::nullopt;
    }
    return found->parse({done.came, done.log});
}

// The simple view is read right behind a full one that was cut, unless it may not be chosen: what
// comes then is the next report.
total_report replay::complete_total(total_report report) {
    const recording_reader::place behind = recorded_.here();
    const auto view = recorded_.next();

    if (is_cut(report) && view && view->is_write && view->attribute == "simple_mon" &&
        view->came.error == 0) {
        const auto simple = recorded_.next();
        if (is_total(simple)) {
            add_simple_view(report, parse_total(reading{simple->came, simple->log}));
            return report;
        }
    }
    recorded_.go_back(behind);
    return report;
}

std::optional<std::variant<any_report, recorded_event>> replay::next() {
    while (const auto done = recorded_.next()) {
        if (done->is_mark || (done->is_write && !is_selection(*done))) {
            const std::string setting = done->attribute + " " + done->written;
            return recorded_event{done->came.start_ns, done->is_mark,
                                  done->is_mark ? done->written : setting};
        }
        if (auto report = parse_operation(*done)) {
            if (auto *const total = std::get_if<total_report>(&*report)) {
                *total = complete_total(std::move(*total));
            }
            return *report;
        }
        failed_reads_ += kind_of(*done) != nullptr ? 1 : 0;
    }
    return std::nullopt;
}

}  // namespace ovk
