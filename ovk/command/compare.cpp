// SPDX-License-Identifier: GPL-2.0-only
// ovk compare: what is other in the second of two recordings.
#include <cmath>

#include "ovk/command/commands.h"
#include "ovk/command/numbers.h"
#include "ovk/compare/series.h"
#include "ovk/compare/statistics.h"
#include "ovk/report/render.h"

namespace ovk {

namespace {

struct compare_request {
    std::string before;
    std::string after;
    std::string format = "text";
    std::optional<double> max_increase_percent;
};

template <class value>
json json_of(const std::optional<value> &known) {
    return known ? json(*known) : json();
}

// To a tenth.
json json_of_percent(const std::optional<double> &percent) {
    return percent ? json(std::round(*percent * 10) / 10) : json();
}

json json_of_name(const label &name) {
    return name ? json(utf8_of(*name)) : json();
}

summary summary_at(const recorded_figures &figures, const figure_place &place) {
    const auto found = figures.values.find(place);
    return found == figures.values.end() ? summary() : summary_of(found->second);
}

json row_of(const figure_place &place, const summary &before, const summary &after,
            const change_of_figure &change) {
    return {{"report", place.report},
            {"module", json_of_name(place.module)},
            {"block", json_of_name(place.block)},
            {"port", json_of(place.port)},
            {"figure", place.name},
            {"a_count", before.count},
            {"a_median", json_of(before.median)},
            {"a_spread", json_of(before.spread)},
            {"b_count", after.count},
            {"b_median", json_of(after.median)},
            {"b_spread", json_of(after.spread)},
            {"difference", json_of(change.difference)},
            {"difference_percent", json_of_percent(change.percent)},
            {"beyond_spread", json_of(change.beyond_spread)},
            {"exceeded", change.exceeded}};
}

json json_of(const std::string &recording, const recorded_figures &figures) {
    return {{"recording", utf8_of(recording)},
            {"source", utf8_of(figures.source)},
            {"reads", figures.reads},
            {"failed", figures.failed},
            {"incomplete", figures.incomplete}};
}

// Those of the first, then what only the second has.
std::vector<figure_place> places_of(const recorded_figures &before, const recorded_figures &after) {
    std::vector<figure_place> places = before.places;
    for (const figure_place &each : after.places) {
        if (before.values.count(each) == 0) {
            places.push_back(each);
        }
    }
    return places;
}

json compared(const compare_request &wanted) {
    const recorded_figures before = figures_of(wanted.before);
    const recorded_figures after = figures_of(wanted.after);
    json rows = json::array();
    std::size_t exceeded = 0;

    for (const figure_place &place : places_of(before, after)) {
        const summary one = summary_at(before, place);
        const summary other = summary_at(after, place);
        const auto change = change_between(one, other, wanted.max_increase_percent);
        exceeded += change.exceeded ? 1 : 0;
        rows.push_back(row_of(place, one, other, change));
    }
    return {{"report", "compare"},
            {"max_increase_percent", json_of(wanted.max_increase_percent)},
            {"exceeded", exceeded},
            {"a", json_of(wanted.before, before)},
            {"b", json_of(wanted.after, after)},
            {"figures", rows},
            {"unparsed", json::array()}};
}

void run_compare(context &shared, const compare_request &wanted) {
    const json result = compared(wanted);

    shared.out << (wanted.format == "json" ? result.dump(2) + "\n" : text_of(result)) << std::flush;
    if (result["exceeded"] != 0) {
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
        ->check(CLI::IsMember({"text", "json"}));
    command
        ->add_option("--max-increase", wanted->max_increase_percent,
                     "Status 1 when a figure has grown by more percent")
        ->transform(percentage());
    command->callback([&shared, wanted] { run_compare(shared, *wanted); });
}

}  // namespace ovk
