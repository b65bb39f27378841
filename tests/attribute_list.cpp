// SPDX-License-Identifier: GPL-2.0-only
#include "tests/attribute_list.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace tests {

namespace {

constexpr const char *title = "Starting Monitor......\033[K\n\033[K\n";
constexpr std::size_t page = 4095;

constexpr const char *fake = "fake_engine";
constexpr const char *monitor = "bw_monitor_related";
constexpr const char *config = "bw_config_related";
constexpr const char *ip = "ip_related";

}  // namespace

const std::vector<attribute> &attribute_list() {
    static const std::vector<attribute> list = {
        {"debug_log_on", 0644, "", 3, {"0\n", "1\n", "0\n"}, {{"debug_log_on: ", ""}}},
        {"reg_op",
         0644,
         "",
         3,
         {"0x1c000000 5\n", "0x1c000004\n", "0x1c000000 0 1\n"},
         {{"\033[K\n0x1c00000", ""}},
         true},
        {"fake_engine", 0644, fake, 3, {"0 0 1000 1 a5a5\n"}, {{"Fake engine ", ": "}}},
        {"fake_eng_loop", 0200, fake, 3, {"0 0\n"}},
        {"bw_total",
         0644,
         monitor,
         3,
         {"1 1 2 0\n", "1 0 1 1\n", "junk\n"},
         {{title, "Status: "}, {"", "Slack     : "}}},
        {"bw_larb",
         0644,
         monitor,
         3,
         {"2 1\n", "5 2\n", "99 1\n"},
         {{title, "  |\033[0m\033[K\n\033[0m\033[K\n"}, {"", " not support larb monitor\033[K\n"}},
         true},
        {"bw_scomm", 0644, monitor, 3, {"1\n"}, {{title, ""}}},
        {"bw_emi", 0644, monitor, 5, {"2\n", "1\n"}, {{title, ""}}},
        {"bw_bus", 0444, monitor, 5, {}, {{"", "%\n"}}},
        {"bw_emi_detail", 0200, monitor, 5, {"y\n", "n\n"}},
        {"bw_emi_lmt", 0644, monitor, 5, {"1 1 0\n"}, {{"echo [EMI] [PORT] [BW LMT] ", ""}}},
        {"bw_emi_timer",
         0644,
         monitor,
         5,
         {"1 2 0 7\n"},
         {{"echo [EMI] [PORT] [R/W] [TIMER] ", ""}}},
        {"bw_emi_ostd", 0644, monitor, 5, {"1 3 1 0\n"}, {{"echo [EMI] [PORT] [R/W] [OSTD] ", ""}}},
        {"ip_config", 0444, config, 3, {}, {{"\033[4mModule : ", ""}}},
        {"larb_module_list", 0444, config, 3, {}, {{"", " : "}}},
        {"simple_mon", 0200, config, 5, {"1\n", "0\n"}},
        {"larb_config", 0200, config, 3, {"0 1 2 0\n", "1 1 2 1\n"}},
        {"cpupri_slot", 0444, config, 3, {}, {{"", ""}}},
        {"cpupri",
         0664,
         config,
         3,
         {"1 0 0x1000 0x1000\n", "0 0\n"},
         {{"scope:0 - start addr:0x1000, end ", ""}},
         true},
        {"mask", 0200, config, 3, {"0 1 0\n"}},
        {"emi_setting", 0444, config, 5, {}, {{"-->EMI-Port(0) bw_limit: 0x", ""}}},
        {"larb_ostdl", 0644, config, 3, {"1 2\n"}, {{"larb id: ", ""}}},
        {"fifo_status", 0644, ip, 3, {"1\n", "0\n"}, {{title, ""}}},
        {"fifo_status_clear", 0200, ip, 3, {"1\n"}},
    };
    return list;
}

bool attribute::is_complete(const std::string &report) const {
    if (report.empty() || report.size() == page) {
        return !report.empty() || may_be_empty;
    }
    return report.back() == '\n' &&
           std::any_of(forms.begin(), forms.end(), [&report](const report_form &form) {
               return report.starts_with(form.begins) && report.find(form.has) != report.npos;
           });
}

template <class A>
static std::string listed(const A &attributes) {
    std::string text;

    for (const auto &each : attributes) {
        std::array<char, 8> digits{};
        std::snprintf(digits.data(), digits.size(), "%04o", each.mode);
        text += std::string(each.name) + " " + digits.data() + "\n";
    }
    return text;
}

std::string names_and_modes() {
    return listed(attribute_list());
}

std::string names_and_modes(const host::machine &machine) {
    return listed(machine.attributes());
}

}  // namespace tests
