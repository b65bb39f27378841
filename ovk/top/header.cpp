// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/header.h"

#include "ovk/top/numbers.h"

namespace ovk::top {

namespace {

constexpr const char *gap = "  ";

piece verdict_piece(const std::optional<total_report> &report) {
    const std::string verdict = report ? report->status.value_or("?") : "...";
    const style look = verdict == "SAFE"      ? style::good
                       : verdict == "WARNING" ? style::warning
                       : verdict == "DANGER"  ? style::bad
                                              : style::strong;
    return {verdict, look};
}

// Without the kernel log, nobody would know of a time-out.
piece badge_piece(badge what, bool log_seen) {
    const std::string note = log_seen ? "" : ", log unseen";

    switch (what) {
        case badge::none:
            return {"[no sweep yet]", style::warning};
        case badge::ok:
            return {"[OK" + note + "]", log_seen ? style::good : style::plain};
        case badge::cut:
            return {"[CUT" + note + "]", style::warning};
        case badge::time_out:
            return {"[TIME-OUT]", style::bad};
        case badge::incomplete:
            return {"[INCOMPLETE" + note + "]", style::warning};
        case badge::stale:
            return {"[STALE]", style::bad};
    }
    return {};
}

piece usage_piece(const usage_figures &usage, bool narrow) {
    std::string text = "usage " + text_of(usage.percent) + " %";

    if (!narrow) {
        text += " " + on_the_right(text_of(usage.bus_mbps), 5) + " of " +
                text_of(usage.total_mbps) + " MB/s";
    }
    return {text};
}

piece slack_piece(const usage_figures &usage, bool narrow) {
    std::string text = "slack " + text_of(usage.slack_percent) + " %";

    if (!narrow) {
        text += " " + on_the_right(text_of(usage.slack_mbps), 5) + " MB/s";
    }
    return {text};
}

std::string recording_text(const sampler_state &state) {
    return "REC " + std::to_string(state.recorded_bytes / 1024) + " KiB";
}

// The source's clock tells how long it took.
void add_sweep(std::vector<piece> &to, const dashboard &shown, std::int64_t now_ns) {
    const report_head &head = shown.report()->head;
    const auto age = shown.age_ns(now_ns);

    to.push_back({"sweep " + std::to_string((head.end_ns - head.start_ns) / ns_per_ms) + " ms"});
    to.push_back({"age " + seconds_text(age.value_or(0)) + " s"});
}

}  // namespace

std::vector<piece> header_of(const dashboard &shown, std::int64_t now_ns, bool narrow) {
    const auto &report = shown.report();
    std::vector<piece> pieces = {
        verdict_piece(report),
        badge_piece(shown.badge_at(now_ns), !report || report->head.log_seen)};

    if (shown.paused()) {
        pieces.push_back({"PAUSED", style::warning});
    }
    if (!shown.state().recording.empty()) {
        pieces.push_back({recording_text(shown.state()), style::bad});
    }
    pieces.push_back({shown.source(), style::strong});
    if (report) {
        pieces.push_back(usage_piece(report->usage, narrow));
        pieces.push_back(slack_piece(report->usage, narrow));
    }
    const auto &time_ms = shown.state().time_ms;
    pieces.push_back({"TIME " + (time_ms ? std::to_string(*time_ms) + " ms" : "?")});
    if (report) {
        add_sweep(pieces, shown, now_ns);
    }
    return pieces;
}

int put_pieces(canvas &to, const std::vector<piece> &pieces, int rows) {
    const int columns = to.size().columns;
    int row = 0;
    int column = 0;

    for (const piece &each : pieces) {
        const int start = column == 0 ? 0 : column + static_cast<int>(std::string(gap).size());
        const int end = start + static_cast<int>(each.text.size());
        const bool fits = end <= columns || column == 0;
        row += fits ? 0 : 1;
        if (row >= rows) {
            return rows;
        }
        to.put(row, fits ? start : 0, each.text, each.look);
        column = fits ? end : static_cast<int>(each.text.size());
    }
    return row + 1;
}

}  // namespace ovk::top
