// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/compare/series.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "ovk/report/named_figures.h"
#include "ovk/report/replay.h"

namespace ovk {

namespace {

// What the memory carries, and how long it lets wait.
constexpr std::string_view compared[] = {"_mbps", "_period_ns", "latency_ns", "usage_percent"};

// The lists whose elements are blocks with ports.
struct block_list {
    std::string_view element;
    const char *words;
};

constexpr block_list block_lists[] = {
    {"larb", "larb "}, {"common", "SMI common "}, {"channel", "EMI channel "}};

// "usage" says of the whole what "sum" does.
bool is_compared(const std::string &family) {
    return !family.starts_with("usage.") &&
           std::any_of(std::begin(compared), std::end(compared),
                       [&](std::string_view ending) { return family.ends_with(ending); });
}

// "3"; of a common "in3", where the direction belongs to the block.
void put_port(figure_place &place, const std::string &port) {
    const std::size_t digits = port.find_first_of("0123456789");
    std::uint64_t number = 0;

    if (digits == std::string::npos) {
        return;
    }
    if (digits > 0) {
        place.block = place.block.value_or("") + " " + port.substr(0, digits);
    }
    std::from_chars(port.data() + digits, port.data() + port.size(), number);
    place.port = number;
}

void put_element(figure_place &place, const std::string &element, const std::string &which) {
    const auto *const block =
        std::find_if(std::begin(block_lists), std::end(block_lists),
                     [&](const block_list &each) { return each.element == element; });

    if (element == "module") {
        place.module = which;
    } else if (element == "port") {
        put_port(place, which);
    } else if (block != std::end(block_lists)) {
        place.block = which == "all" ? "all EMI channels" : block->words + which;
    }
}

figure_place place_of(const any_report &report, const named_figure &figure) {
    figure_place place{.report = name_of(report),
                       .name = figure.family.substr(figure.family.rfind('.') + 1)};

    if (const auto *const larb = std::get_if<larb_report>(&report)) {
        place.module = larb->module ? label(utf8_of(*larb->module)) : std::nullopt;
    }
    if (figure.family.starts_with("sum.") && std::holds_alternative<total_report>(report)) {
        place.module = "SUM";
    }
    for (const auto &[element, which] : figure.labels) {
        put_element(place, element, which);
    }
    return place;
}

void add_report(recorded_figures &to, const any_report &report) {
    ++to.reads;
    to.incomplete += head_of(report).complete ? 0 : 1;
    for (const named_figure &each : figures_of(report)) {
        if (!is_compared(each.family)) {
            continue;
        }
        const figure_place place = place_of(report, each);
        const auto [entry, is_new] = to.values.try_emplace(place);
        if (is_new) {
            to.places.push_back(place);
        }
        if (each.value) {
            entry->second.push_back(*each.value);
        }
    }
}

}  // namespace

recorded_figures recorded_figures_of(const std::string &recording) {
    replay recorded(recording);
    recorded_figures found{.source = recorded.header().source};

    while (const auto next = recorded.next()) {
        if (const auto *const report = std::get_if<any_report>(&*next)) {
            add_report(found, *report);
        }
    }
    found.failed = recorded.failed_reads();
    found.reads += found.failed;
    return found;
}

}  // namespace ovk
