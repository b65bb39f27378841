// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/compare/comparison.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "ovk/compare/series.h"
#include "ovk/compare/statistics.h"
#include "ovk/report/render.h"

namespace ovk {

namespace {

template <class value>
json json_of(const std::optional<value> &known) {
    return known ? json(*known) : json();
}

// To a tenth.
json json_of_percent(const std::optional<double> &percent) {
    return percent ? json(std::round(*percent * 10) / 10) : json();
}

summary summary_at(const recorded_figures &figures, const figure_place &place) {
    const auto found = figures.values.find(place);
    return found == figures.values.end() ? summary() : summary_of(found->second);
}

json row_of(const figure_place &place, const summary &before, const summary &after,
            const change_of_figure &change) {
    return {{"report", place.report},
            {"module", json_of(place.module)},
            {"block", json_of(place.block)},
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

std::string rendered(const json &result, const std::string &format) {
    return format == "csv"    ? csv_lines(result["figures"], row_of({}, {}, {}, {}))
           : format == "json" ? result.dump(2) + "\n"
                              : text_of(result);
}

}  // namespace

comparison compare_recordings(const std::string &before, const std::string &after,
                              std::optional<double> max_increase_percent,
                              const std::string &format) {
    const recorded_figures a = recorded_figures_of(before);
    const recorded_figures b = recorded_figures_of(after);
    json rows = json::array();
    comparison made;

    for (const figure_place &place : places_of(a, b)) {
        const summary one = summary_at(a, place);
        const summary other = summary_at(b, place);
        const auto change = change_between(one, other, max_increase_percent);
        made.exceeded += change.exceeded ? 1 : 0;
        rows.push_back(row_of(place, one, other, change));
    }
    const json result = {
        {"report", "compare"},       {"max_increase_percent", json_of(max_increase_percent)},
        {"exceeded", made.exceeded}, {"a", json_of(before, a)},
        {"b", json_of(after, b)},    {"figures", rows},
        {"unparsed", json::array()}};
    made.text = rendered(result, format);
    return made;
}

}  // namespace ovk
