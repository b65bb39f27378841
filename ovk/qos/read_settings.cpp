// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <set>

#include "ovk/base/failure.h"
#include "ovk/qos/settings.h"
#include "ovk/report/take.h"

namespace ovk {

namespace {

constexpr std::uint64_t larb_numbers = 53;
constexpr std::uint64_t larb_ports = 32;

constexpr const char *shown_nowhere[] = {
    "masks of MIU2GMC ports",
    "the mode of the CPU ranges, and the range of a scope that is off",
    "larb outstanding limits: the bits above the lowest eight, which a write clears",
};

// "0-3 7"
std::string words_for(const std::vector<std::uint64_t> &numbers) {
    std::string text;

    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::size_t first = i;
        while (i + 1 < numbers.size() && numbers[i + 1] == numbers[i] + 1) {
            ++i;
        }
        text += (text.empty() ? "" : " ") + std::to_string(numbers[first]) +
                (i > first ? "-" + std::to_string(numbers[i]) : "");
    }
    return text;
}

class settings_reader {
  public:
    explicit settings_reader(source &from) : from_(from) {
        found_.unreadable.assign(std::begin(shown_nowhere), std::end(shown_nowhere));
    }

    qos_settings read() {
        read_emi();
        read_larbs();
        read_priorities();
        read_cpu();
        name_unknown_priorities();
        return std::move(found_);
    }

  private:
    void note_reasons(const std::string &what, const report_head &head) {
        for (const std::string &reason : head.reasons) {
            found_.unreadable.push_back(what);
            found_.unreadable.back() += ": " + reason;
        }
    }

    // A chip whose channels can't be had still has larbs.
    void read_emi() {
        try {
            const emi_report detail = take_emi_detail(from_);
            for (const emi_channel_figures &channel : detail.channels) {
                for (const emi_port_figures &port : channel.ports) {
                    add_emi_port(*channel.channel, *port.port, port.limits);
                }
            }
            note_reasons("EMI limits", detail.head);
        } catch (const failure &error) {
            if (error.status() != exit_status::unreachable) {
                throw;
            }
            found_.unreadable.push_back(std::string("EMI limits: ") + error.what());
        }
    }

    void add_emi_port(std::uint64_t channel, std::uint64_t port, const emi_limits &limits) {
        found_.ports[{false, channel, port, "bandwidth_limit"}] = limits.bandwidth_limit;
        found_.ports[{false, channel, port, "read_timer"}] = limits.read_timer;
        found_.ports[{false, channel, port, "write_timer"}] = limits.write_timer;
        found_.ports[{false, channel, port, "read_outstanding"}] = limits.read_outstanding;
        found_.ports[{false, channel, port, "write_outstanding"}] = limits.write_outstanding;
    }

    void read_larbs() {
        const auto shown = parse_larb_ostdl(take_or_throw(from_, "larb_ostdl").came.text);
        if (!shown) {
            found_.unreadable.emplace_back("larb outstanding limits: larb_ostdl shows none");
            return;
        }
        moved_setting selection(from_, "larb_ostdl",
                                std::to_string(shown->larb) + " " + std::to_string(shown->port));
        for (const std::uint64_t larb : larbs_to_try()) {
            read_larb(larb, selection);
        }
        selection.put_back();
    }

    // One that is not there shows limits of 0, and only the kernel log tells.
    std::set<std::uint64_t> larbs_to_try() {
        std::set<std::uint64_t> larbs;
        for (const module_ports &module : take_ports(from_).modules) {
            for (const larb_group &group : module.larbs) {
                larbs.insert(*group.larb);
            }
        }
        named_larbs_ = larbs;
        for (std::uint64_t larb = 0; from_.has_log() && larb < larb_numbers; ++larb) {
            larbs.insert(larb);
        }
        if (!from_.has_log()) {
            found_.unreadable.emplace_back(
                "larbs of no module, as the kernel log can't be read that tells which are there");
        }
        return larbs;
    }

    void read_larb(std::uint64_t larb, moved_setting &selection) {
        for (std::uint64_t port = 0; port < larb_ports; ++port) {
            const figure limit = take_larb_limit(from_, selection, larb, port);
            if (!limit && port == 0 && named_larbs_.count(larb) == 0) {
                return;
            }
            add_larb_port(larb, port, limit);
        }
    }

    void add_larb_port(std::uint64_t larb, std::uint64_t port, const figure &limit) {
        found_.ports[{true, larb, port, "outstanding_limit"}] = limit;
        found_.ports[{true, larb, port, "force_ultra"}] = std::nullopt;
        found_.ports[{true, larb, port, "force_preultra"}] = std::nullopt;
        if (!limit) {
            found_.unreadable.push_back(ovk::words_for({true, larb, port, "outstanding_limit"}));
        }
    }

    // Only the reports of modules show them.
    void read_priorities() {
        larb_selector selector(from_);
        for (const larb_module &module : selector.ports().larb_modules) {
            const larb_report report = selector.take(*module.id);
            for (const larb_figures &larb : report.larbs) {
                for (const larb_port_figures &port : larb.ports) {
                    add_priority({true, *larb.larb, *port.port, "force_ultra"}, port.force_ultra);
                    add_priority({true, *larb.larb, *port.port, "force_preultra"},
                                 port.force_preultra);
                }
            }
            note_reasons("forced priorities of " + report.module.value_or("a module"), report.head);
        }
        selector.put_back();
    }

    void add_priority(const setting_key &key, const flag &set) {
        const auto found = found_.ports.find(key);
        if (found != found_.ports.end() && set) {
            found->second = *set ? 1 : 0;
        }
    }

    void name_unknown_priorities() {
        std::map<std::uint64_t, std::vector<std::uint64_t>> unknown;
        for (const auto &[key, value] : found_.ports) {
            if (key.name == "force_ultra" && !value) {
                unknown[key.block].push_back(key.port);
            }
        }
        for (const auto &[larb, ports] : unknown) {
            found_.unreadable.push_back("forced priorities of larb " + std::to_string(larb) +
                                        " ports " + words_for(ports) + ": in no module's report");
        }
    }

    // Nothing at all is shown when no scope is on, and when the block can't be had.
    void read_cpu() {
        limits_report shown;
        const bool there = !take_or_throw(from_, "cpupri_slot").came.text.empty();
        add_cpu_ranges(shown, take_or_throw(from_, "cpupri"));
        const bool odd =
            std::any_of(shown.cpu_ranges.begin(), shown.cpu_ranges.end(),
                        [](const cpu_range &each) { return *each.scope >= cpu_scopes; });
        if (!there || odd || !shown.head.complete) {
            found_.unreadable.emplace_back("CPU ranges: cpupri does not show them");
            return;
        }
        found_.cpu.fill({.known = true});
        for (const cpu_range &each : shown.cpu_ranges) {
            found_.cpu.at(*each.scope).range = {*each.start, *each.end};
        }
    }

    source &from_;
    qos_settings found_;
    std::set<std::uint64_t> named_larbs_;
};

}  // namespace

qos_settings read_settings(source &from) {
    return settings_reader(from).read();
}

}  // namespace ovk
