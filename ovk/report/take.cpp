// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/take.h"

#include <cerrno>

#include "ovk/base/failure.h"
#include "ovk/source/refusal.h"
#include "ovk/source/system_error.h"

namespace ovk {

reading take_or_throw(source &from, std::string_view attribute) {
    reading taken = take_reading(from, attribute);

    if (taken.came.error != 0) {
        throw refused_access(from, attribute, "read", taken.came.error);
    }
    return taken;
}

void set_or_throw(source &where, std::string_view attribute, const std::string &text) {
    where.log();
    const answer came = where.write(attribute, text);

    if (came.error != 0) {
        throw refused_access(where, attribute, "write", came.error);
    }
    const judgement judged = judge_write(where, attribute, text);
    if (judged.found == verdict::refused) {
        throw failure(exit_status::refused, where.name() + ": " + std::string(attribute) +
                                                ": write '" + text + "': not taken: " + judged.why);
    }
}

reading take_bus(source &from) {
    reading taken = take_reading(from, "bw_bus");

    if (taken.came.error != 0 && taken.came.error != ETIMEDOUT) {
        throw refused_access(from, "bw_bus", "read", taken.came.error);
    }
    return taken;
}

emi_report take_emi_detail(source &from) {
    emi_report report = parse_emi(take_or_throw(from, "bw_emi"));

    if (report.view == "total") {
        moved_setting view(from, "bw_emi_detail", "0");
        view.move("1");
        report = parse_emi(take_or_throw(from, "bw_emi"));
        view.put_back();
    }
    return report;
}

ports_report take_ports(source &from) {
    ports_report report = parse_ip_config(take_or_throw(from, "ip_config"));

    add_larb_modules(report, take_or_throw(from, "larb_module_list"));
    return report;
}

}  // namespace ovk
