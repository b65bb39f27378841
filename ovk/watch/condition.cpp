// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/watch/condition.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <iterator>
#include <string_view>

#include "ovk/base/failure.h"

namespace ovk {

namespace {

struct comparison {
    std::string_view sign;
    bool (*compare)(double, double);
};

template <class functor>
bool by(double one, double other) {
    return functor()(one, other);
}

// The longer ones first.
constexpr comparison comparisons[] = {
    {">=", by<std::greater_equal<>>}, {"<=", by<std::less_equal<>>}, {"==", by<std::equal_to<>>},
    {"!=", by<std::not_equal_to<>>},  {">", by<std::greater<>>},     {"<", by<std::less<>>},
};

std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == text.npos
               ? ""
               : std::string(text.substr(first, text.find_last_not_of(' ') + 1 - first));
}

[[noreturn]] void refuse(const std::string &text, const std::string &why) {
    throw failure(exit_status::usage, "--when '" + text + "': " + why);
}

// Members of members may be written either way: usage.percent or usage_percent.
std::string comparable(std::string name) {
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

// A module's name may itself hold what looks like a comparison: the last sign counts.
std::size_t place_of_sign(const std::string &text) {
    const std::size_t last = text.find_last_of("<>=");
    const bool is_second = last != text.npos && last > 0 && text[last] == '=' &&
                           std::string_view("<>=!").find(text[last - 1]) != std::string::npos;
    return is_second ? last - 1 : last;
}

// Ports and limits are no measurements.
const any_report watchable[] = {total_report(), larb_report(), scomm_report(),
                                emi_report(),   bus_report(),  fifo_report()};

// Whether a report can have such a figure: its last part is a member of that kind.
bool can_have(const any_report &report, const std::string &figure) {
    const auto all = possible_figures_of(report);
    const std::string wanted = comparable(figure);

    return std::any_of(all.begin(), all.end(), [&](const named_figure &each) {
        const std::string member = each.family.substr(each.family.rfind('.') + 1);
        return each.labels.empty()
                   ? comparable(each.name) == wanted
                   : wanted.ends_with("_" + member) &&
                         wanted.starts_with(each.family.substr(0, each.family.find('.')));
    });
}

}  // namespace

condition::condition(const std::string &text) : text_(trimmed(text)) {
    const std::size_t place = place_of_sign(text_);
    const std::string_view behind =
        place == text_.npos ? "" : std::string_view(text_).substr(place);
    const auto *sign =
        std::find_if(std::begin(comparisons), std::end(comparisons),
                     [&](const auto &each) { return behind.starts_with(each.sign); });

    if (sign == std::end(comparisons)) {
        refuse(text_, "a figure, one of > >= < <= == !=, and a number expected");
    }
    const std::string number = trimmed(behind.substr(sign->sign.size()));
    const auto parsed = std::from_chars(number.data(), number.data() + number.size(), limit_);
    if (number.empty() || parsed.ec != std::errc() || !std::isfinite(limit_) ||
        parsed.ptr != number.data() + number.size()) {
        refuse(text_, "'" + number + "' is no number");
    }
    compare_ = sign->compare;
    figure_ = trimmed(std::string_view(text_).substr(0, place));
    const auto *report =
        std::find_if(std::begin(watchable), std::end(watchable), [&](const any_report &each) {
            return figure_.starts_with(std::string(name_of(each)) + ".");
        });
    if (report == std::end(watchable)) {
        report = watchable;
    } else {
        figure_.erase(0, figure_.find('.') + 1);
    }
    report_ = name_of(*report);
    if (!can_have(*report, figure_)) {
        refuse(text_, "the report " + report_ + " has no figure '" + figure_ + "'; ovk report " +
                          report_ + " --format json shows what it has");
    }
}

truth condition::holds(const std::vector<named_figure> &figures) const {
    const std::string wanted = comparable(figure_);
    const auto found = std::find_if(figures.begin(), figures.end(), [&](const named_figure &each) {
        return comparable(each.name) == wanted;
    });

    if (found == figures.end() || !found->value) {
        return truth::unknown;
    }
    return compare_(*found->value, limit_) ? truth::yes : truth::no;
}

}  // namespace ovk
