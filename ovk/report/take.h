// SPDX-License-Identifier: GPL-2.0-only
// Reports from a source. What has to be moved for one is put back. All of these throw failure:
// unreachable when an attribute can't be read, refused when something was not taken.
#pragma once

#include <optional>
#include <string>

#include "ovk/report/parse.h"
#include "ovk/report/selection.h"

namespace ovk {

reading take_or_throw(source &from, std::string_view attribute);
void set_or_throw(source &where, std::string_view attribute, const std::string &text);

// A full view and, when that was cut, the simple one, which has room for the totals.
struct total_readings {
    reading first;
    std::optional<reading> simple = {};
};

total_readings take_total(source &from);
// The simple view where the first was cut, else nothing; nothing either where it can't be had.
std::optional<reading> take_simple_view(source &from, const reading &first,
                                        const total_report &parsed);
total_report parse_total(const total_readings &from);

// Whether that is a full view that lost its totals.
bool is_cut(const total_report &report);
// Adds to such a report what the simple view tells.
void add_simple_view(total_report &to, const total_report &simple);

// Times stay set: no attribute shows what they were. Throws failure(refused) when the report does
// not show what has to be written with the time.
void set_total_time(source &where, std::uint32_t time_ms);

// An unfinished run of the monitor is a report, too.
reading take_bus(source &from);

// The detail view; the view that was chosen before is chosen again.
emi_report take_emi_detail(source &from);

ports_report take_ports(source &from);

// The larb reports of modules. The one that was selected before is selected again.
class larb_selector {
  public:
    // Reads the report of the module that is selected, and what there is to select.
    explicit larb_selector(source &where);

    const larb_report &present() const { return present_; }
    const ports_report &ports() const { return ports_; }

    // Of a module by its id or name. Throws failure(usage) for one that is not there.
    std::uint64_t id_of(const std::string &module) const;

    // Without a time, the monitoring time stays as it is.
    larb_report take(std::uint64_t id, const std::optional<std::uint32_t> &time_ms = {});
    void put_back();

  private:
    std::optional<std::uint64_t> find(const label &name) const;

    source &where_;
    ports_report ports_;
    larb_report present_;
    std::optional<moved_setting> selection_;
};

limits_report take_limits(source &from);

// Of a port, by the selection of larb_ostdl; nothing for a larb that can't be had, whose limit
// shows as 0.
figure take_larb_limit(source &from, moved_setting &selection, std::uint64_t larb,
                       std::uint64_t port);

}  // namespace ovk
