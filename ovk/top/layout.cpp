// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/layout.h"

#include <algorithm>

#include "ovk/top/header.h"
#include "ovk/top/pages.h"

namespace ovk::top {

namespace {

constexpr extent smallest = {6, 20};
constexpr int narrow = 60;  // columns
constexpr int most_header_rows = 3;

constexpr const char *order_names[] = {"list", "bus", "chg", "eff", "name"};

// In the order in which they are kept.
std::vector<std::string> hints_for(const dashboard &shown) {
    const std::string order = order_names[static_cast<int>(shown.sorting())];

    return {"q quit",        "? help",
            "s by " + order, shown.shown() == page::ports ? "Enter back" : "Enter ports",
            "b base",        "p pause",
            "m mark",        "r rec",
            "+- TIME"};
}

std::string hint_line(const dashboard &shown, int columns) {
    std::string line;

    for (const std::string &hint : hints_for(shown)) {
        std::string longer = line.empty() ? "" : line + "  ";
        longer += hint;
        if (static_cast<int>(longer.size()) > columns) {
            break;
        }
        line = longer;
    }
    return line;
}

// Why a report is not complete, unless there is something newer to tell.
std::string remark(const dashboard &shown) {
    const bool incomplete = shown.report() && !shown.report()->head.reasons.empty();

    return !shown.message().empty() ? shown.message()
           : incomplete             ? shown.report()->head.reasons.front()
                                    : "";
}

void put_page(canvas &to, dashboard &shown, band where, glyphs drawn_with) {
    switch (shown.shown()) {
        case page::modules:
            put_modules(to, shown, where, drawn_with);
            break;
        case page::ports:
            put_ports(to, shown, where);
            break;
        case page::help:
            put_help(to, where);
            break;
    }
}

}  // namespace

canvas lay_out(dashboard &shown, extent size, glyphs drawn_with, std::int64_t now_ns) {
    canvas to(size);
    const std::string told = remark(shown);

    if (size.rows < smallest.rows || size.columns < smallest.columns) {
        to.put(0, 0, "too small");
        return to;
    }
    const int top =
        shown.shown() == page::help
            ? 0
            : put_pieces(to, header_of(shown, now_ns, size.columns < narrow), most_header_rows);
    const int last = size.rows - 1;
    put_page(to, shown, {top, told.empty() ? last : last - 1}, drawn_with);
    if (!told.empty()) {
        to.put(last - 1, 0, told, style::warning);
    }
    to.put(last, 0, hint_line(shown, size.columns), style::faint);
    return to;
}

}  // namespace ovk::top
