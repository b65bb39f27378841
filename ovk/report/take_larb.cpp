// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>

#include "ovk/base/failure.h"
#include "ovk/report/fields.h"
#include "ovk/report/take.h"

namespace ovk {

larb_selector::larb_selector(source &where)
    : where_(where),
      ports_(take_ports(where)),
      present_(parse_larb(take_or_throw(where, "bw_larb"))) {
    if (const auto id = find(present_.module)) {
        selection_.emplace(where, "bw_larb", std::to_string(*id));
    }
}

// The sum has the highest id. Like it the reference is not listed: its id is the one that is
// missing.
static figure id_of_unlisted(const label &name, const std::vector<module_ports> &listed) {
    const auto is_listed = [&](std::uint64_t id) {
        return std::any_of(listed.begin(), listed.end(),
                           [&](const module_ports &each) { return each.id == id; });
    };
    std::uint64_t missing = 0;

    while (is_listed(missing)) {
        ++missing;
    }
    return name == "REF_EMI" ? figure(missing)
           : name == "SUM"   ? figure(listed.size() + 1)
                             : std::nullopt;
}

std::optional<std::uint64_t> larb_selector::find(const label &name) const {
    for (const larb_module &each : ports_.larb_modules) {
        if (each.name == name) {
            return each.id;
        }
    }
    for (const module_ports &each : ports_.modules) {
        if (each.name == name) {
            return each.id;
        }
    }
    return id_of_unlisted(name, ports_.modules);
}

std::uint64_t larb_selector::id_of(const std::string &module) const {
    figure id;

    if (ovk::take(std::string_view(module), id)) {
        return *id;
    }
    if (const auto found = find(module)) {
        return *found;
    }
    throw failure(exit_status::usage,
                  where_.name() + ": no module '" + module + "'; ovk report ports lists them");
}

// A number alone selects the module and leaves the time as it is, though the module complains that
// the time is missing.
larb_report larb_selector::take(std::uint64_t id, const std::optional<std::uint32_t> &time_ms) {
    const std::string text = std::to_string(id) + (time_ms ? " " + std::to_string(*time_ms) : "");

    if (selection_) {
        selection_->move(text);
    } else {
        where_.write("bw_larb", text);
    }
    larb_report report = parse_larb(take_or_throw(where_, "bw_larb"));
    if (find(report.module) != id) {
        throw failure(exit_status::refused,
                      where_.name() + ": bw_larb: module " + std::to_string(id) +
                          " can't be selected; ovk report ports lists those that can");
    }
    return report;
}

void larb_selector::put_back() {
    if (selection_) {
        selection_->put_back();
    }
}

}  // namespace ovk
