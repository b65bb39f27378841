// SPDX-License-Identifier: GPL-2.0-only
// What `ovk top` shows, and what keys do to it. It has no clock and no terminal: times are given
// in, in ns of any steady clock.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "ovk/top/sampler.h"

namespace ovk::top {

constexpr std::size_t history_depth = 60;  // sweeps

enum class order { as_listed, by_bus, by_change, by_efficiency, by_name };
enum class page { modules, ports, help };
enum class badge { none, ok, cut, time_out, incomplete, stale };

// Keys that are no characters, beside those that are.
enum key : int {
    key_none = 0,
    key_enter = '\n',
    key_escape = 27,
    key_up = 0x10000,
    key_down,
    key_page_up,
    key_page_down,
    key_home,
    key_end,
};

// What a key asks of the one who measures.
struct wish {
    enum kind { nothing, quit, pause, go_on, record, mark, set_time, open_ports, close_ports };
    kind what = nothing;
    std::string text = {};  // of a mark; the module's name or id
    std::uint32_t time_ms = 0;
};

// One line of the table.
struct module_row {
    module_figures figures = {};
    signed_figure change_mbps = {};         // against the sweep before
    signed_figure from_baseline_mbps = {};  // against the pinned one
    std::vector<figure> trend = {};         // bus bandwidths, oldest first; empty is not known
};

class dashboard {
  public:
    dashboard(std::string source, std::int64_t every_ns)
        : source_(std::move(source)), every_ns_(every_ns) {}

    void add(const news &what, std::int64_t now_ns);
    wish press(int key);
    // How many lines of the table are to be seen, for keys that go a page on.
    void set_visible(std::size_t lines) { visible_ = lines; }

    const std::string &source() const { return source_; }
    const std::optional<total_report> &report() const { return report_; }
    const std::optional<larb_report> &ports() const { return ports_; }
    const std::string &ports_of() const { return ports_of_; }
    const std::string &no_ports() const { return no_ports_; }  // why there are none
    const sampler_state &state() const { return state_; }
    const std::string &message() const { return message_; }
    std::uint64_t sweeps() const { return sweeps_; }
    order sorting() const { return sorting_; }
    page shown() const { return shown_; }
    bool paused() const { return paused_; }
    bool has_baseline() const { return baseline_.has_value(); }

    badge badge_at(std::int64_t now_ns) const;
    // Since the figures arrived; nothing before the first ones.
    std::optional<std::int64_t> age_ns(std::int64_t now_ns) const;

    // The modules in the order chosen; the reference is not among them.
    std::vector<module_row> modules() const;
    std::optional<module_row> reference() const;
    module_row sum() const;
    // Which sweeps of a trend have a mark.
    std::vector<bool> marks() const;

    // The line that is selected in the table, and the first that is to be seen of it.
    std::size_t selected() const;
    std::size_t first_visible() const;

  private:
    struct round {
        total_report report;  // without figures where there were none
        bool marked = false;
    };

    void add_to_history(const total_report &report);
    void add_round(const taken_round &came, std::int64_t now_ns);
    template <class finder>
    module_row row_of(const module_figures &figures, finder &&find) const;
    module_row row_of_module(const module_figures &figures) const;
    std::size_t line_count() const;
    void select(std::size_t line);
    bool move_selection(int key);

    // What the keys do.
    struct action {
        int key;
        wish (dashboard::*act)();
    };
    static const action actions[];
    wish leave();
    wish toggle_help();
    wish toggle_recording();
    wish next_order();
    wish pin();
    wish unpin();
    wish toggle_pause();
    wish make_mark();
    wish longer_time();
    wish shorter_time();
    wish enter();
    wish leave_page();

    std::string source_;
    std::int64_t every_ns_;
    std::deque<round> history_;
    std::uint64_t sweeps_ = 0;
    std::optional<total_report> report_;  // the last that there was
    std::optional<total_report> previous_;
    std::optional<total_report> baseline_;
    std::optional<larb_report> ports_;
    std::string ports_of_;    // the module's name
    std::string ports_wish_;  // what was asked for
    std::string no_ports_;
    sampler_state state_;
    std::optional<std::int64_t> arrived_ns_;
    bool failing_ = false;  // the last sweep was none
    std::string message_;
    order sorting_ = order::as_listed;
    page shown_ = page::modules;
    page before_help_ = page::modules;
    bool paused_ = false;
    unsigned marks_ = 0;
    std::optional<module_figures> selected_module_;
    std::size_t selected_port_ = 0;
    std::size_t visible_ = 1;
};

}  // namespace ovk::top
