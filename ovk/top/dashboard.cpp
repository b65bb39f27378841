// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/dashboard.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace ovk::top {

namespace {

// A sweep that is this many times later than it should be is missed.
constexpr std::int64_t most_late = 3;

constexpr std::array<std::uint32_t, 11> times_ms = {1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024};
constexpr std::uint32_t default_time_ms = 16;  // after loading

bool is_reference(const module_figures &module) {
    return module.name == "REF_EMI";
}

// The simple view has no ids.
bool is_same(const module_figures &one, const module_figures &other) {
    return one.name == other.name && (!one.id || !other.id || one.id == other.id);
}

const module_figures *find_in(const total_report &report, const module_figures &wanted) {
    const auto found =
        std::find_if(report.modules.begin(), report.modules.end(),
                     [&](const module_figures &each) { return is_same(each, wanted); });
    return found == report.modules.end() ? nullptr : &*found;
}

signed_figure difference(const figure &now, const figure &then) {
    return now && then
               ? signed_figure(static_cast<std::int64_t>(*now) - static_cast<std::int64_t>(*then))
               : std::nullopt;
}

// The larger it is the earlier it comes; what is not known comes last.
std::int64_t weight(const module_row &row, order by) {
    switch (by) {
        case order::by_bus:
            return static_cast<std::int64_t>(row.figures.bus_mbps.value_or(0));
        case order::by_change:
            return std::abs(row.change_mbps.value_or(0));
        case order::by_efficiency:
            return -static_cast<std::int64_t>(row.figures.efficiency_percent.value_or(1000));
        default:
            return 0;
    }
}

void sort(std::vector<module_row> &rows, order by) {
    std::stable_sort(rows.begin(), rows.end(), [&](const module_row &one, const module_row &other) {
        return by == order::by_name ? one.figures.name < other.figures.name
                                    : weight(one, by) > weight(other, by);
    });
}

badge badge_of(const report_head &head) {
    const auto has = [&](const char *what) {
        return std::any_of(head.reasons.begin(), head.reasons.end(), [&](const std::string &each) {
            return each.find(what) != std::string::npos;
        });
    };
    return head.complete                        ? badge::ok
           : has("time out")                    ? badge::time_out
           : has("cut at") || has("ends early") ? badge::cut
                                                : badge::incomplete;
}

}  // namespace

void dashboard::add(const news &what, std::int64_t now_ns) {
    state_ = what.state;
    if (!what.message.empty()) {
        message_ = what.message;
    }
    if (what.round) {
        add_round(*what.round, now_ns);
    } else if (what.failed) {
        failing_ = true;
        add_to_history({});
    }
}

void dashboard::add_to_history(const total_report &report) {
    history_.push_back({report});
    if (history_.size() > history_depth) {
        history_.pop_front();
    }
    ++sweeps_;
}

void dashboard::add_round(const taken_round &came, std::int64_t now_ns) {
    previous_ = failing_ ? std::nullopt : std::exchange(report_, std::nullopt);
    report_ = came.total;
    add_to_history(came.total);
    failing_ = false;
    arrived_ns_ = now_ns;
    if (shown_ != page::modules && came.ports_of == ports_wish_) {
        ports_ = came.ports;
        no_ports_ = came.no_ports;
    }
}

badge dashboard::badge_at(std::int64_t now_ns) const {
    if (!report_) {
        return badge::none;
    }
    const report_head &head = report_->head;
    const std::int64_t patience = most_late * std::max(every_ns_, head.end_ns - head.start_ns);
    const bool late = !paused_ && *age_ns(now_ns) > patience;
    return failing_ || late ? badge::stale : badge_of(head);
}

std::optional<std::int64_t> dashboard::age_ns(std::int64_t now_ns) const {
    return arrived_ns_ ? std::optional(now_ns - *arrived_ns_) : std::nullopt;
}

template <class finder>
module_row dashboard::row_of(const module_figures &figures, finder &&find) const {
    const auto bus_in = [&](const total_report &report) {
        const module_figures *found = find(report);
        return found == nullptr ? figure() : found->bus_mbps;
    };
    module_row row{figures};

    row.change_mbps = difference(figures.bus_mbps, previous_ ? bus_in(*previous_) : figure());
    row.from_baseline_mbps =
        difference(figures.bus_mbps, baseline_ ? bus_in(*baseline_) : figure());
    for (const round &each : history_) {
        row.trend.push_back(bus_in(each.report));
    }
    return row;
}

module_row dashboard::row_of_module(const module_figures &figures) const {
    return row_of(figures, [&](const total_report &in) { return find_in(in, figures); });
}

std::vector<module_row> dashboard::modules() const {
    std::vector<module_row> rows;

    for (const module_figures &each : report_ ? report_->modules : std::vector<module_figures>()) {
        if (!is_reference(each)) {
            rows.push_back(row_of_module(each));
        }
    }
    sort(rows, sorting_);
    return rows;
}

std::optional<module_row> dashboard::reference() const {
    for (const module_figures &each : report_ ? report_->modules : std::vector<module_figures>()) {
        if (is_reference(each)) {
            return row_of_module(each);
        }
    }
    return std::nullopt;
}

module_row dashboard::sum() const {
    module_row row = row_of(report_ ? report_->sum : module_figures(),
                            [](const total_report &in) { return &in.sum; });
    row.figures.name = "SUM";
    return row;
}

std::vector<bool> dashboard::marks() const {
    std::vector<bool> found;

    for (const round &each : history_) {
        found.push_back(each.marked);
    }
    return found;
}

std::size_t dashboard::line_count() const {
    std::size_t count = 0;

    if (shown_ == page::modules) {
        return modules().size();
    }
    for (const larb_figures &each : ports_ ? ports_->larbs : std::vector<larb_figures>()) {
        count += each.ports.size();
    }
    return count;
}

// A module stays selected when the order changes.
std::size_t dashboard::selected() const {
    const std::size_t count = line_count();

    if (shown_ != page::modules) {
        return std::min(selected_port_, count == 0 ? 0 : count - 1);
    }
    const std::vector<module_row> rows = modules();
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const module_row &each) {
        return selected_module_ && is_same(each.figures, *selected_module_);
    });
    return found == rows.end() ? 0 : static_cast<std::size_t>(found - rows.begin());
}

void dashboard::select(std::size_t line) {
    if (shown_ != page::modules) {
        selected_port_ = line;
    } else if (const std::vector<module_row> rows = modules(); line < rows.size()) {
        selected_module_ = rows[line].figures;
    }
}

std::size_t dashboard::first_visible() const {
    const std::size_t line = selected();
    return line < visible_ ? 0 : line - visible_ + 1;
}

bool dashboard::move_selection(int key) {
    const auto last = static_cast<std::ptrdiff_t>(line_count()) - 1;
    const auto here = static_cast<std::ptrdiff_t>(selected());
    const auto page = static_cast<std::ptrdiff_t>(visible_);
    const struct {
        int key;
        std::ptrdiff_t to;
    } moves[] = {{key_up, here - 1},
                 {'k', here - 1},
                 {key_down, here + 1},
                 {'j', here + 1},
                 {key_page_up, here - page},
                 {key_page_down, here + page},
                 {key_home, 0},
                 {key_end, last}};

    for (const auto &each : moves) {
        if (each.key == key) {
            const auto within =
                std::clamp(each.to, std::ptrdiff_t(0), std::max(last, std::ptrdiff_t(0)));
            select(static_cast<std::size_t>(within));
            return true;
        }
    }
    return false;
}

const dashboard::action dashboard::actions[] = {
    {'q', &dashboard::leave},
    {'?', &dashboard::toggle_help},
    {'s', &dashboard::next_order},
    {'b', &dashboard::pin},
    {'B', &dashboard::unpin},
    {'p', &dashboard::toggle_pause},
    {'m', &dashboard::make_mark},
    {'r', &dashboard::toggle_recording},
    {'+', &dashboard::longer_time},
    {'=', &dashboard::longer_time},
    {'-', &dashboard::shorter_time},
    {key_enter, &dashboard::enter},
    {key_escape, &dashboard::leave_page},
};

wish dashboard::press(int key) {
    message_.clear();
    if (shown_ == page::help && key != 'q') {
        return toggle_help();
    }
    for (const action &each : actions) {
        if (each.key == key) {
            return (this->*each.act)();
        }
    }
    move_selection(key);
    return {};
}

wish dashboard::leave() {
    return {wish::quit};
}

wish dashboard::toggle_recording() {
    return {wish::record};
}

wish dashboard::toggle_help() {
    if (shown_ == page::help) {
        shown_ = before_help_;
    } else {
        before_help_ = shown_;
        shown_ = page::help;
    }
    return {};
}

wish dashboard::next_order() {
    sorting_ = sorting_ == order::by_name ? order::as_listed
                                          : static_cast<order>(static_cast<int>(sorting_) + 1);
    return {};
}

wish dashboard::pin() {
    baseline_ = report_;
    message_ = baseline_ ? "baseline pinned; B takes it away" : "nothing to pin yet";
    return {};
}

wish dashboard::unpin() {
    baseline_.reset();
    message_ = "no baseline";
    return {};
}

wish dashboard::toggle_pause() {
    paused_ = !paused_;
    return {paused_ ? wish::pause : wish::go_on};
}

// It belongs to the last sweep that is to be seen.
wish dashboard::make_mark() {
    if (!history_.empty()) {
        history_.back().marked = true;
    }
    ++marks_;
    return {wish::mark, "mark " + std::to_string(marks_)};
}

wish dashboard::longer_time() {
    const auto *next =
        std::upper_bound(times_ms.begin(), times_ms.end(), state_.time_ms.value_or(0));
    return {wish::set_time, "",
            !state_.time_ms          ? default_time_ms
            : next == times_ms.end() ? *state_.time_ms
                                     : *next};
}

// No attribute shows what TIME is: the first key makes it known.
wish dashboard::shorter_time() {
    const auto *next =
        std::lower_bound(times_ms.begin(), times_ms.end(), state_.time_ms.value_or(0));
    return {wish::set_time, "",
            !state_.time_ms            ? default_time_ms
            : next == times_ms.begin() ? *state_.time_ms
                                       : *(next - 1)};
}

wish dashboard::enter() {
    const std::vector<module_row> rows = modules();

    if (shown_ == page::ports) {
        return leave_page();
    }
    if (rows.empty()) {
        return {};
    }
    const module_figures &chosen = rows[selected()].figures;
    select(selected());
    ports_of_ = chosen.name.value_or("");
    ports_wish_ = chosen.id ? std::to_string(*chosen.id) : ports_of_;
    ports_.reset();
    no_ports_.clear();
    selected_port_ = 0;
    shown_ = page::ports;
    return {wish::open_ports, ports_wish_};
}

wish dashboard::leave_page() {
    if (shown_ != page::ports) {
        return {};
    }
    shown_ = page::modules;
    return {wish::close_ports};
}

}  // namespace ovk::top
