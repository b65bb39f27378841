// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/doctor/doctor.h"

#include <algorithm>
#include <cstring>

#include "ovk/base/failure.h"
#include "ovk/report/parse.h"
#include "ovk/source/system_error.h"

namespace ovk {

namespace {

constexpr const char *all_attributes[] = {
    "bw_bus",
    "bw_emi",
    "bw_emi_detail",
    "bw_emi_lmt",
    "bw_emi_ostd",
    "bw_emi_timer",
    "bw_larb",
    "bw_scomm",
    "bw_total",
    "cpupri",
    "cpupri_slot",
    "debug_log_on",
    "emi_setting",
    "fake_eng_loop",
    "fake_engine",
    "fifo_status",
    "fifo_status_clear",
    "ip_config",
    "larb_config",
    "larb_module_list",
    "larb_ostdl",
    "mask",
    "reg_op",
    "simple_mon",
};

// How to see what a report has no room for.
struct way_round {
    const char *attribute;
    const char *advice;
};

constexpr way_round ways_round[] = {
    {"bw_total",
     "write 1 to simple_mon: the simple view has room for all, and ovk report total "
     "takes its totals from there"},
    {"bw_emi", "write 0 to bw_emi_detail: the total view is shorter"},
    {"bw_larb", "select a module with fewer ports: ovk report larb --module NAME"},
    {"bw_scomm", "the traffic of these ports is in bw_larb and bw_emi"},
};

constexpr const char *module_at_first = "GOP";

std::string advice_on_cut(const std::string &attribute) {
    const auto *found =
        std::find_if(std::begin(ways_round), std::end(ways_round),
                     [&](const way_round &each) { return attribute == each.attribute; });
    return found == std::end(ways_round) ? "what is missing is shown nowhere else" : found->advice;
}

std::string advice_on(const std::string &attribute, const std::string &reason) {
    return reason.starts_with("cut") ? advice_on_cut(attribute)
           : reason.starts_with("kernel log")
               ? "docs/attributes.md tells under " + attribute + ", Fails, what that means"
           : reason.starts_with("unparsed")
               ? "ovk and the module are of different versions, or two read at a time; ovk report "
                 "shows the lines"
               : "the kernel log may tell more";
}

class examination {
  public:
    explicit examination(source &where) : where_(where) {}

    std::vector<finding> all() {
        check_module();
        check_log();
        check_writing();
        check_reports();
        check_generators();
        check_switches();
        if (!moved_) {
            add(health::good, "selections",
                all_read_ ? "as after loading" : "those that can be read are as after loading");
        }
        return std::move(findings_);
    }

  private:
    void add(health found, const std::string &subject, const std::string &what,
             const std::string &next = "") {
        findings_.push_back({found, subject, what, next});
    }

    void check_module() {
        const std::vector<std::string> there = where_.attributes();
        std::string missing;
        for (const char *each : all_attributes) {
            if (std::find(there.begin(), there.end(), each) == there.end()) {
                missing += std::string(missing.empty() ? "" : " ") + each;
            }
        }
        const std::string version = where_.fact("module_version");
        if (missing.empty()) {
            add(health::good, "module",
                "all attributes are there" + (version.empty() ? "" : ", version " + version));
        } else {
            add(health::wrong, "module", "attributes are missing: " + missing,
                "load ovk_bw; the kernel log tells when it could not make them");
        }
    }

    void check_log() {
        if (where_.has_log()) {
            add(health::good, "kernel log", "can be read");
        } else {
            add(health::wrong, "kernel log", "can't be read: time-outs and refusals go unnoticed",
                "read as root, or set kernel.dmesg_restrict to 0");
        }
    }

    // Nothing, with a finding, when there is no answer.
    std::optional<reading> try_to_read(const std::string &attribute) {
        try {
            reading taken = take_reading(where_, attribute);
            if (taken.came.error == 0) {
                return taken;
            }
            add(health::wrong, attribute, what_stands_against(attribute, taken.came.error));
        } catch (const failure &error) {
            pass_over(attribute, error);
        }
        all_read_ = false;
        return std::nullopt;
    }

    // "read: Permission denied; root may"
    std::string what_stands_against(const std::string &attribute, int error) {
        const std::string text = refused_access(where_, attribute, "read", error).what();
        return text.substr((where_.name() + ": " + attribute + ": ").size());
    }

    // A recording does not have everything.
    void pass_over(const std::string &subject, const failure &error) {
        if (error.status() != exit_status::incomplete) {
            throw error;
        }
        add(health::unknown, subject, "is not in the recording from here on");
    }

    // The selection is written as it is.
    void check_writing() {
        const auto taken = try_to_read("larb_ostdl");
        const auto shown = taken ? parse_larb_ostdl(taken->came.text) : std::nullopt;
        if (!shown) {
            return;
        }
        const std::string selection =
            std::to_string(shown->larb) + " " + std::to_string(shown->port);
        try {
            add_writing(where_.write("larb_ostdl", selection).error);
        } catch (const failure &error) {
            pass_over("permissions", error);
        }
        if (selection != "0 0") {
            add_moved("larb_ostdl",
                      "larb " + std::to_string(shown->larb) + " port " +
                          std::to_string(shown->port) + " is selected",
                      "0 0");
        }
    }

    void add_writing(int error) {
        if (error == 0) {
            add(health::good, "permissions", "settings can be written");
        } else {
            add(health::wrong, "permissions",
                std::string("settings can't be written: ") + std::strerror(error), "write as root");
        }
    }

    void add_moved(const std::string &attribute, const std::string &what,
                   const std::string &original) {
        moved_ = true;
        add(health::wrong, attribute, what,
            "when nobody needs it so: ovk write " + attribute + " '" + original + "'");
    }

    void judge(const std::string &attribute, const report_head &head) {
        if (head.complete) {
            add(health::good, attribute, "complete");
        }
        for (const std::string &reason : head.reasons) {
            add(health::wrong, attribute, reason, advice_on(attribute, reason));
        }
    }

    template <class report>
    std::optional<report> check_report(const std::string &attribute,
                                       report (*parse)(const reading &)) {
        const auto taken = try_to_read(attribute);
        if (!taken) {
            return std::nullopt;
        }
        report found = parse(*taken);
        judge(attribute, found.head);
        return found;
    }

    void check_reports() {
        const auto ports = check_report("ip_config", parse_ip_config);
        if (const auto total = check_report("bw_total", parse_total)) {
            check_total(*total);
        }
        if (const auto larb = check_report("bw_larb", parse_larb)) {
            check_selected_module(*larb, ports.value_or(ports_report()));
        }
        check_report("bw_scomm", parse_scomm);
        if (const auto emi = check_report("bw_emi", parse_emi); emi && emi->view == "detail") {
            add_moved("bw_emi_detail", "bw_emi has the detail view", "0");
        }
        check_report("bw_bus", parse_bus);
        check_report("fifo_status", parse_fifo);
    }

    // The DRAM's clock comes from the module of its controller.
    void check_total(const total_report &total) {
        if (total.usage.total_mbps == 0U) {
            add(health::wrong, "siblings", "the DRAM controller tells no clock",
                "load the module of the DRAM controller before ovk_bw");
        } else if (total.usage.total_mbps) {
            add(health::good, "siblings",
                "the DRAM can move " + std::to_string(*total.usage.total_mbps) + " MB/s");
        }
        if (total.view == "simple") {
            add_moved("simple_mon", "bw_total has the simple view", "0");
        }
    }

    void check_selected_module(const larb_report &larb, const ports_report &ports) {
        const auto found = std::find_if(
            ports.modules.begin(), ports.modules.end(),
            [](const module_ports &each) { return each.name == module_at_first && each.id; });
        if (larb.module && larb.module != module_at_first && found != ports.modules.end()) {
            add_moved("bw_larb", "the module " + *larb.module + " is selected",
                      std::to_string(*found->id));
        }
    }

    void check_generators() {
        const auto taken = try_to_read("fake_engine");
        if (taken && taken->came.text.find("NO DEVICE") != std::string::npos) {
            add(health::wrong, "fake_engine", "a traffic generator's registers can't be had",
                "the kernel log names it; look for its node in the device tree");
        }
    }

    void check_switches() {
        const auto trace = try_to_read("debug_log_on");
        if (trace && trace->came.text != "debug_log_on: 0\n") {
            add_moved("debug_log_on", "every measurement is traced in the kernel log", "0");
        }
        const auto selected = try_to_read("reg_op");
        if (selected && parse_reg_op(selected->came.text)) {
            add_moved("reg_op", "a register is selected, which every read of it reads", "0x0");
        }
    }

    source &where_;
    std::vector<finding> findings_;
    bool all_read_ = true;
    bool moved_ = false;
};

}  // namespace

std::vector<finding> examine(source &where) {
    return examination(where).all();
}

}  // namespace ovk
