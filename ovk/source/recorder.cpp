// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/recorder.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "platform/version.h"

namespace ovk {

namespace {

// Settings that a read shows and leaves as they are.
constexpr const char *readable[] = {"debug_log_on", "larb_module_list", "cpupri_slot",
                                    "cpupri",       "emi_setting",      "larb_ostdl"};

// Those that none shows, or only a report in passing.
constexpr const char *unreadable[] = {
    "bw_total: who takes part, TIME, PROC",
    "bw_larb: the module, TIME",
    "bw_scomm: TIME",
    "bw_emi: TIME",
    "bw_emi_detail",
    "bw_emi_lmt: channels above 0",
    "bw_emi_timer",
    "bw_emi_ostd",
    "simple_mon",
    "larb_config: limits of other ports, forced priorities",
    "mask",
    "fake_eng_loop",
    "fifo_status: whether it is on",
    "reg_op: the register",
};

std::string utc_now() {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    char text[sizeof "2026-01-01T00:00:00Z"];

    gmtime_r(&now, &parts);
    std::strftime(text, sizeof text, "%FT%TZ", &parts);
    return text;
}

}  // namespace

recording_header describe_source(source &from) {
    recording_header header;

    header.version = OVK_VERSION;
    header.source = from.name();
    for (const char *what : fact_names) {
        header.facts[what] = from.fact(what);
    }
    header.boot_ns = from.now();
    header.utc = utc_now();
    header.attributes = from.attributes();
    header.ip_config = from.read("ip_config");
    for (const char *attribute : readable) {
        if (std::count(header.attributes.begin(), header.attributes.end(), attribute) != 0) {
            header.settings[attribute] = from.read(attribute);
        }
    }
    header.unreadable.assign(std::begin(unreadable), std::end(unreadable));
    from.log();  // of these reads, and no operation's
    return header;
}

answer recorder::read(std::string_view attribute) {
    return note({.attribute = std::string(attribute), .came = from_.read(attribute)});
}

answer recorder::write(std::string_view attribute, std::string_view text) {
    return note({.is_write = true,
                 .attribute = std::string(attribute),
                 .written = std::string(text),
                 .came = from_.write(attribute, text)});
}

answer recorder::note(operation done) {
    if (from_.has_log()) {
        done.log = from_.log();
        log_.insert(log_.end(), done.log->begin(), done.log->end());
    }
    to_.add(done);
    return std::move(done.came);
}

std::vector<std::string> recorder::log() {
    return std::exchange(log_, {});
}

}  // namespace ovk
