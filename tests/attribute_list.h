// SPDX-License-Identifier: GPL-2.0-only
// The attributes of the module, for all tests that go through them.
#pragma once

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace tests {

struct attribute {
    const char *name;
    unsigned mode;
    const char *group;  // of attributes that are created together; "": none
    int level;          // of the message that it can't be created
    // To write, on any chip. Those of a report that measures make it measure for a few ms at most,
    // and with the first one it has something to show. None keeps a handler from returning.
    std::vector<const char *> texts = {};
    // A complete report has one of these; "": it may be empty, with nothing selected or enabled.
    std::vector<std::string> marks = {};

    bool is_readable() const { return (mode & 0400) != 0; }
    bool is_writable() const { return (mode & 0200) != 0; }
    // Whether a report came to its end or to the end of the page.
    bool is_complete(const std::string &report) const {
        const bool ended = report.size() == 4095 || report.ends_with('\n');

        return std::any_of(marks.begin(), marks.end(), [&](const std::string &mark) {
            return mark.empty() ? report.empty() : ended && report.find(mark) != report.npos;
        });
    }
};

inline void PrintTo(const attribute &each, std::ostream *out) {
    *out << each.name;
}

// In the order of their creation.
inline const std::vector<attribute> &attribute_list() {
    static constexpr const char *title = "Starting Monitor......\033[K\n\033[K\n";
    static constexpr const char *totals = "  |\033[0m\033[K\n\033[0m\033[K\n";
    static constexpr const char *fake = "fake_engine";
    static constexpr const char *monitor = "bw_monitor_related";
    static constexpr const char *config = "bw_config_related";
    static constexpr const char *ip = "ip_related";
    static const std::vector<attribute> list = {
        {"debug_log_on", 0644, "", 3, {"0\n", "1\n", "0\n"}, {"debug_log_on: "}},
        {"reg_op", 0644, "", 3, {"0x1c000000 5\n", "0x1c000000 0 1\n"}, {"\n0x1c00000", ""}},
        {"fake_engine", 0644, fake, 3, {"0 0 1000 1 a5a5\n"}, {"Fake engine "}},
        {"fake_eng_loop", 0200, fake, 3, {"0 0\n"}},
        {"bw_total", 0644, monitor, 3, {"1 1 2 0\n", "1 0 1 1\n"}, {"Status: ", "Slack     : "}},
        {"bw_larb", 0644, monitor, 3, {"2 1\n", "5 2\n", "99 1\n"}, {totals, " not support ", ""}},
        {"bw_scomm", 0644, monitor, 3, {"1\n"}, {title}},
        {"bw_emi", 0644, monitor, 5, {"2\n", "1\n"}, {title}},
        {"bw_bus", 0444, monitor, 5, {}, {"%\n"}},
        {"bw_emi_detail", 0200, monitor, 5, {"y\n", "n\n"}},
        {"bw_emi_lmt", 0644, monitor, 5, {"1 1 0\n"}, {"(HEX)\n"}},
        {"bw_emi_timer", 0644, monitor, 5, {"1 2 0 7\n"}, {"(HEX)\n"}},
        {"bw_emi_ostd", 0644, monitor, 5, {"1 3 1 0\n"}, {"(HEX)\n"}},
        {"ip_config", 0444, config, 3, {}, {"\033[4mModule : "}},
        {"larb_module_list", 0444, config, 3, {}, {" : "}},
        {"simple_mon", 0200, config, 5, {"1\n", "0\n"}},
        {"larb_config", 0200, config, 3, {"0 1 2 0\n", "1 1 2 1\n"}},
        {"cpupri_slot", 0444, config, 3, {}, {"\n"}},
        {"cpupri", 0664, config, 3, {"1 0 0x1000 0x1000\n", "0 0\n"}, {"scope:0 - start ", ""}},
        {"mask", 0200, config, 3, {"0 1 0\n"}},
        {"emi_setting", 0444, config, 5, {}, {"-->EMI-Port(0) bw_limit: "}},
        {"larb_ostdl", 0644, config, 3, {"1 2\n"}, {"larb id: "}},
        {"fifo_status", 0644, ip, 3, {"1\n", "0\n"}, {title}},
        {"fifo_status_clear", 0200, ip, 3, {"1\n"}},
    };
    return list;
}

// A line "bw_total 0644" for each attribute, of this list or of a loaded module. Compared as texts
// they show which attribute makes the difference.
template <class A>
std::string names_and_modes(const A &attributes) {
    std::ostringstream text;

    for (const auto &each : attributes) {
        text << each.name << " 0" << std::oct << each.mode << "\n";
    }
    return text.str();
}

}  // namespace tests
