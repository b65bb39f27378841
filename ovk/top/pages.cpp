// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/pages.h"

#include <algorithm>

#include "ovk/top/graphs.h"
#include "ovk/top/numbers.h"
#include "ovk/top/table.h"

namespace ovk::top {

namespace {

constexpr int little_room = 6;  // rows

enum module_column { name, bus, change, baseline, efficiency, ultra, preultra, bar, trend };

constexpr column module_columns[] = {
    {"MODULE", 10, 10, 0, true}, {"MB/s", 6, 6, 1},    {"CHANGE", 6, 6, 2},
    {"vs BASE", 7, 7, 6},        {"EFF%", 4, 4, 4},    {"UR%", 3, 3, 7},
    {"PUR%", 4, 4, 8},           {"", 8, 20, 3, true}, {"60 SWEEPS", 9, 60, 5, true},
};

using module_text = std::string (*)(const module_row &);
constexpr module_text module_texts[] = {
    [](const module_row &row) { return row.figures.name.value_or("?"); },
    [](const module_row &row) { return text_of(row.figures.bus_mbps); },
    [](const module_row &row) { return change_text(row.change_mbps); },
    [](const module_row &row) { return change_text(row.from_baseline_mbps); },
    [](const module_row &row) { return text_of(row.figures.efficiency_percent); },
    [](const module_row &row) { return text_of(row.figures.ultra_percent); },
    [](const module_row &row) { return text_of(row.figures.preultra_percent); },
};

enum port_column { larb, port };

struct port_row {
    const larb_figures &larb;
    const larb_port_figures &port;
};

constexpr column port_columns[] = {
    {"LARB", 4, 4, 0},   {"PORT", 4, 4, 0},  {"READ", 6, 6, 0},     {"WRITE", 6, 6, 0},
    {"MAX ns", 6, 6, 2}, {"BURST", 5, 5, 5}, {"EFF%", 4, 4, 1},     {"UR%", 3, 3, 3},
    {"PUR%", 4, 4, 4},   {"LIMIT", 5, 5, 6}, {"FORCED U", 8, 8, 7}, {"FORCED PU", 9, 9, 8},
};

using port_text = std::string (*)(const port_row &);
constexpr port_text port_texts[] = {
    [](const port_row &row) { return text_of(row.larb.larb); },
    [](const port_row &row) { return text_of(row.port.port); },
    [](const port_row &row) { return text_of(row.port.read_mbps); },
    [](const port_row &row) { return text_of(row.port.write_mbps); },
    [](const port_row &row) { return text_of(row.port.max_period_ns); },
    [](const port_row &row) { return text_of(row.port.burst); },
    [](const port_row &row) { return text_of(row.port.efficiency_percent); },
    [](const port_row &row) { return text_of(row.port.ultra_percent); },
    [](const port_row &row) { return text_of(row.port.preultra_percent); },
    [](const port_row &row) { return text_of(row.port.outstanding_limit); },
    [](const port_row &row) { return text_of(row.port.force_ultra); },
    [](const port_row &row) { return text_of(row.port.force_preultra); },
};

// A text that is too long loses its end.
void put_in(canvas &to, int row, const place &where, const std::string &text, bool left,
            style look = style::plain) {
    const std::string cut = text.substr(0, static_cast<std::size_t>(where.width));
    const int blanks = left ? 0 : where.width - static_cast<int>(cut.size());

    to.put(row, where.start + blanks, cut, look);
}

void put_glyphs(canvas &to, int row, const place &where, std::u32string_view line, style look) {
    for (int i = 0; i < std::min(where.width, static_cast<int>(line.size())); ++i) {
        to.put(row, where.start + i, line[static_cast<std::size_t>(i)], look);
    }
}

void put_titles(canvas &to, int row, std::span<const column> columns,
                const std::vector<place> &places) {
    to.paint(row, style::title);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        put_in(to, row, places[i], columns[i].title, columns[i].left, style::title);
    }
}

// What a full bar stands for, in percent of the theoretical bandwidth: a round number that has room
// for the largest module.
std::uint64_t percent_of_bars(const std::vector<module_row> &rows, std::uint64_t total) {
    std::uint64_t largest = 0;

    for (const module_row &each : rows) {
        largest = std::max(largest, each.figures.bus_mbps.value_or(0));
    }
    for (const std::uint64_t percent : {5, 10, 20, 50}) {
        if (largest * 100 <= total * percent) {
            return percent;
        }
    }
    return 100;
}

// Draws modules, each in a row.
class module_table {
  public:
    module_table(canvas &to, const dashboard &shown, const std::vector<module_row> &rows,
                 glyphs drawn_with)
        : to_(to),
          shown_(shown),
          drawn_with_(drawn_with),
          places_(places_of(module_columns, to.size().columns)),
          total_(shown.report() ? shown.report()->usage.total_mbps.value_or(0) : 0),
          percent_(percent_of_bars(rows, total_)) {}

    void put_title(int row) const {
        put_titles(to_, row, module_columns, places_);
        if (total_ != 0) {
            put_in(to_, row, places_[bar], "0-" + std::to_string(percent_) + " %", true,
                   style::title);
        }
        put_marks(row);
    }

    void put(int row, const module_row &module, style look = style::plain) const {
        for (std::size_t i = 0; i < std::size(module_texts); ++i) {
            put_in(to_, row, places_[i], module_texts[i](module), module_columns[i].left, look);
        }
        put_trend(row, module);
    }

    void put_with_bar(int row, const module_row &module) const {
        const place &where = places_[bar];
        put(row, module);
        put_glyphs(to_, row, where,
                   bar_of(module.figures.bus_mbps.value_or(0), total_ * percent_ / 100, where.width,
                          drawn_with_),
                   style::bar);
    }

  private:
    void put_trend(int row, const module_row &module) const {
        const place &where = places_[trend];
        put_glyphs(to_, row, where,
                   sparkline_of(module.trend, shown_.sweeps(), where.width, drawn_with_),
                   style::plain);
    }

    void put_marks(int row) const {
        const place &where = places_[trend];
        const std::vector<bool> marks = shown_.marks();
        const std::vector<int> columns = columns_of(marks.size(), shown_.sweeps(), where.width);

        for (std::size_t i = 0; i < marks.size(); ++i) {
            if (marks[i] && columns[i] >= 0 && where.width != 0) {
                to_.put(row, where.start + columns[i], U'v', style::title);
            }
        }
    }

    canvas &to_;
    const dashboard &shown_;
    glyphs drawn_with_;
    std::vector<place> places_;
    std::uint64_t total_;  // the theoretical bandwidth; 0: not known
    std::uint64_t percent_;
};

std::vector<port_row> rows_of(const larb_report &report) {
    std::vector<port_row> rows;

    for (const larb_figures &each : report.larbs) {
        for (const larb_port_figures &port_of_it : each.ports) {
            rows.push_back({each, port_of_it});
        }
    }
    return rows;
}

void put_port(canvas &to, int row, const std::vector<place> &places, const port_row &what) {
    for (std::size_t i = 0; i < std::size(port_texts); ++i) {
        put_in(to, row, places[i], port_texts[i](what), port_columns[i].left);
    }
}

std::string sum_of_ports(const larb_report &report) {
    return "data " + text_of(report.sum.data_mbps) + "  eff " +
           text_of(report.sum.efficiency_percent) + " %  bus " + text_of(report.sum.bus_mbps) +
           " MB/s";
}

void put_port_table(canvas &to, dashboard &shown, const larb_report &report, band where) {
    const std::vector<place> places = places_of(port_columns, to.size().columns);
    const std::vector<port_row> rows = rows_of(report);

    shown.set_visible(static_cast<std::size_t>(std::max(where.bottom - where.top - 1, 1)));
    put_titles(to, where.top, port_columns, places);
    const std::size_t selected = shown.selected();
    int row = where.top + 1;
    for (std::size_t i = shown.first_visible(); i < rows.size() && row < where.bottom; ++i) {
        put_port(to, row, places, rows[i]);
        if (i == selected) {
            to.paint(row, style::selected);
        }
        ++row;
    }
}

}  // namespace

// The reference is left out where there is little room; the sum never is.
void put_modules(canvas &to, dashboard &shown, band where, glyphs drawn_with) {
    const std::vector<module_row> rows = shown.modules();
    const module_table table(to, shown, rows, drawn_with);
    const auto reference =
        where.bottom - where.top > little_room ? shown.reference() : std::nullopt;
    const int bottom = where.bottom - (reference ? 2 : 1);
    int row = where.top;

    table.put_title(row++);
    shown.set_visible(static_cast<std::size_t>(std::max(bottom - row, 1)));
    const std::size_t selected = shown.selected();
    for (std::size_t i = shown.first_visible(); i < rows.size() && row < bottom; ++i) {
        table.put_with_bar(row, rows[i]);
        if (i == selected) {
            to.paint(row, style::selected);
        }
        ++row;
    }
    if (reference) {
        table.put(row++, *reference, style::faint);
    }
    table.put(row, shown.sum(), style::strong);
}

void put_ports(canvas &to, dashboard &shown, band where) {
    const auto &report = shown.ports();
    const std::string name = shown.ports_of() + ": ";

    if (!report) {
        to.put(where.top, 0,
               name + (!shown.no_ports().empty() ? shown.no_ports()
                       : shown.paused()          ? "paused"
                                                 : "measuring ..."),
               style::strong);
    } else if (report->supported == false) {
        to.put(where.top, 0, name + "has no larbs", style::strong);
    } else {
        to.put(where.top, 0, name + sum_of_ports(*report), style::strong);
        put_port_table(to, shown, *report, {where.top + 1, where.bottom});
    }
}

void put_help(canvas &to, band where) {
    static constexpr const char *lines[] = {
        "Up Down     choose a module",
        "Enter Esc   its larb ports, and back",
        "s           sort by the next column",
        "b B         pin a baseline, take it away",
        "p           pause: nothing is measured",
        "m           a mark, also when recording",
        "r           start or end a recording",
        "+ -         TIME, which stays set",
        "q Ctrl-C    leave",
        "",
        "MB/s is bandwidth on the bus, CHANGE",
        "against the sweep before. UR% and PUR%:",
        "ultra and pre-ultra shares. \"-\" and a",
        "gap: not known. v: a mark.",
    };
    int row = where.top;

    for (const char *line : lines) {
        if (row < where.bottom) {
            to.put(row++, 0, std::string_view(line));
        }
    }
}

}  // namespace ovk::top
