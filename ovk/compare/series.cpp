// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/compare/series.h"

#include <algorithm>
#include <cerrno>

#include "ovk/report/parse.h"

namespace ovk {

namespace {

class collector {
  public:
    void add(const operation &done) {
        const auto *found =
            std::find_if(std::begin(reports), std::end(reports),
                         [&](const auto &each) { return done.attribute == each.attribute; });
        if (done.is_write || found == std::end(reports)) {
            return;
        }
        ++all_.reads;
        if (done.came.error != 0) {
            ++all_.failed;
            return;
        }
        report_ = found->name;
        (this->*found->take)({done.came, done.log});
    }

    recorded_figures take() { return std::move(all_); }

  private:
    void note(figure_place place, const char *name, const figure &value) {
        place.report = report_;
        place.name = name;
        const auto [entry, is_new] = all_.values.try_emplace(place);
        if (is_new) {
            all_.places.push_back(place);
        }
        if (value) {
            entry->second.push_back(static_cast<double>(*value));
        }
    }

    void note_head(const report_head &head) { all_.incomplete += head.complete ? 0 : 1; }

    void add_module(const module_figures &module) {
        note({.module = module.name}, "data_mbps", module.data_mbps);
        note({.module = module.name}, "bus_mbps", module.bus_mbps);
    }

    void add_total(const reading &from) {
        const total_report report = parse_total(from);
        note_head(report.head);
        std::for_each(report.modules.begin(), report.modules.end(),
                      [this](const module_figures &each) { add_module(each); });
        if (report.sum.name) {
            add_module(report.sum);
        }
    }

    void add_larb(const reading &from) {
        const larb_report report = parse_larb(from);
        note_head(report.head);
        for (const larb_figures &larb : report.larbs) {
            for (const larb_port_figures &port : larb.ports) {
                const figure_place place{.module = report.module,
                                         .block = "larb " + std::to_string(*larb.larb),
                                         .port = port.port};
                note(place, "read_mbps", port.read_mbps);
                note(place, "write_mbps", port.write_mbps);
                note(place, "max_period_ns", port.max_period_ns);
            }
        }
    }

    void add_scomm(const reading &from) {
        const scomm_report report = parse_scomm(from);
        note_head(report.head);
        for (const common_figures &common : report.commons) {
            for (const common_port_figures &port : common.ports) {
                const figure_place place{
                    .block = "SMI common " + std::to_string(*common.common) + " " + *port.direction,
                    .port = port.port};
                note(place, "read_mbps", port.read_mbps);
                note(place, "write_mbps", port.write_mbps);
                note(place, "max_read_period_ns", port.max_read_period_ns);
                note(place, "max_write_period_ns", port.max_write_period_ns);
            }
        }
    }

    void add_emi(const reading &from) {
        const emi_report report = parse_emi(from);
        note_head(report.head);
        for (const emi_channel_figures &channel : report.channels) {
            for (const emi_port_figures &port : channel.ports) {
                const figure_place place{
                    .block = channel.channel ? "EMI channel " + std::to_string(*channel.channel)
                                             : "all EMI channels",
                    .port = port.port};
                note(place, "data_mbps", port.data_mbps);
                note(place, "bus_mbps", port.bus_mbps);
                note(place, "latency_ns", port.latency_ns);
            }
        }
    }

    void add_bus(const reading &from) {
        const bus_report report = parse_bus(from);
        note_head(report.head);
        note({}, "usage_percent", report.usage_percent);
    }

    struct known_report {
        const char *attribute;
        const char *name;
        void (collector::*take)(const reading &);
    };
    static constexpr known_report reports[] = {
        {"bw_total", "total", &collector::add_total}, {"bw_larb", "larb", &collector::add_larb},
        {"bw_scomm", "scomm", &collector::add_scomm}, {"bw_emi", "emi", &collector::add_emi},
        {"bw_bus", "bus", &collector::add_bus},
    };

    std::string report_;
    recorded_figures all_;
};

}  // namespace

recorded_figures figures_of(const std::string &recording) {
    recording_reader reader(recording);
    collector all;

    while (const auto done = reader.next()) {
        all.add(*done);
    }
    recorded_figures found = all.take();
    found.source = reader.header().source;
    return found;
}

}  // namespace ovk
