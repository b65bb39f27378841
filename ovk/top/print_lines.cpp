// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <chrono>

#include "ovk/base/interrupt.h"
#include "ovk/top/dashboard.h"
#include "ovk/top/header.h"
#include "ovk/top/numbers.h"
#include "ovk/top/pages.h"
#include "ovk/top/run.h"

namespace ovk::top {

namespace {

constexpr int line_length = 100;

std::string time_text(std::int64_t ns) {
    const std::string ms = std::to_string(ns / ns_per_ms % 1000);
    return std::to_string(ns / ns_per_s) + "." + std::string(3 - ms.size(), '0') + ms + " s";
}

// The age is left out, which is none.
void print_header(std::ostream &out, const dashboard &shown) {
    std::vector<piece> pieces = header_of(shown, 0, false);
    canvas line({1, 2 * line_length});

    pieces.back() = {"at " + time_text(shown.report()->head.end_ns)};
    put_pieces(line, pieces, 1);
    out << line.line(0) << "\n";
}

void print_sweep(std::ostream &out, dashboard &shown) {
    const int rows = static_cast<int>(shown.modules().size()) + (shown.reference() ? 3 : 2);
    canvas table({rows, line_length});

    print_header(out, shown);
    put_modules(table, shown, {0, rows}, glyphs::ascii);
    for (int row = 0; row < rows; ++row) {
        out << table.line(row) << "\n";
    }
    for (const std::string &reason : shown.report()->head.reasons) {
        out << reason << "\n";
    }
    out << std::endl;
}

}  // namespace

void print_lines(source &from, const options &how, std::ostream &out) {
    using clock = std::chrono::steady_clock;
    dashboard shown(from.name(), how.every_ns);
    sampler what(from);
    auto last_end = clock::now();
    auto next = last_end;

    if (how.time_ms) {
        what.set_time(*how.time_ms);
    }
    for (std::uint64_t done = 0; how.count == 0 || done < how.count; ++done) {
        wait_for_input(-1, std::max(std::chrono::ceil<milliseconds>(next - clock::now()),
                                    milliseconds::zero()));
        const std::chrono::nanoseconds since = clock::now() - last_end;
        shown.add({.round = what.take(since.count()), .state = what.state()}, 0);
        last_end = clock::now();
        next = std::max(next + std::chrono::nanoseconds(how.every_ns), last_end);
        print_sweep(out, shown);
    }
}

}  // namespace ovk::top
