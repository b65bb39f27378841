// SPDX-License-Identifier: GPL-2.0-only
// Every figure of every report against what follows from the chip's device tree, its registers and
// the traffic that was put in, by another way than the module's text.
#include <numeric>

#include "ovk/report/take.h"
#include "ovk/tests/model_source.h"
#include "tests/oracle.h"
#include "tests/random_traffic.h"
#include "tests/report_text.h"

namespace ovk::tests {

namespace {

using ::tests::lines;
using ::tests::oracle;

constexpr std::size_t none = SIZE_MAX;

std::string shown(const char *text) {
    return text;
}
std::string shown(std::uint64_t number) {
    return std::to_string(number);
}
std::string shown(const std::string &text) {
    return text;
}
template <class value>
std::string shown(const std::optional<value> &of) {
    return of ? shown(*of) : "-";
}
std::string shown(const signed_figure &of) {
    return of ? std::to_string(*of) : "-";
}

std::string joined(const lines &words) {
    std::string text;
    for (const std::string &each : words) {
        text += (text.empty() ? "" : " ") + each;
    }
    return text;
}

template <class... values>
std::string words(const values &...each) {
    return joined({shown(each)...});
}

// An efficiency of 0 is one that is not known, and neither is what such data cost on the bus.
std::string as_known(const std::string &row, std::size_t data, std::size_t effi, std::size_t bus) {
    lines cells = ::tests::words_of(row);
    cells.at(effi) = cells.at(effi) == "0" ? "-" : cells.at(effi);
    if (bus != none && cells.at(bus) == "0" && cells.at(data) != "0") {
        cells.at(bus) = "-";
    }
    return joined(cells);
}

// Rows of the reports as the oracle has them.

std::string row_of(const module_figures &each) {
    return words(each.name, each.data_mbps, each.efficiency_percent, each.bus_mbps,
                 each.ultra_percent, each.preultra_percent);
}

void add_sum(lines &rows, const traffic_sum &sum, const char *start, const char *gap,
             const char *end) {
    if (sum.data_mbps) {
        rows.push_back(start + shown(sum.data_mbps) + " " + shown(sum.efficiency_percent) + gap +
                       shown(sum.bus_mbps) + end);
    }
}

lines rows_of(const larb_report &report) {
    if (report.supported == false) {
        return {*report.module + " not support larb monitor"};
    }
    lines rows = {"Module : " + *report.module};
    for (const larb_figures &larb : report.larbs) {
        rows.push_back(words("SMI_LARB", larb.larb));
        for (const larb_port_figures &port : larb.ports) {
            rows.push_back(words(port.port, port.read_mbps, port.write_mbps, port.max_period_ns,
                                 port.burst, port.efficiency_percent, port.ultra_percent,
                                 port.preultra_percent));
        }
    }
    add_sum(rows, report.sum, "", " ", "");
    return rows;
}

lines rows_of(const scomm_report &report) {
    lines rows;
    for (const common_figures &common : report.commons) {
        rows.push_back(words("SMI_COMMON", common.common));
        for (const common_port_figures &port : common.ports) {
            rows.push_back(words(port.direction == "in" ? "In" : "Out", port.port, port.read_mbps,
                                 port.write_mbps, port.max_read_period_ns, port.max_write_period_ns,
                                 port.burst, port.efficiency_percent, port.ultra_percent,
                                 port.preultra_percent));
        }
    }
    return rows;
}

lines rows_of(const emi_report &report) {
    lines rows;
    for (const emi_channel_figures &channel : report.channels) {
        rows.push_back("CENTRAL_EMI " + (channel.channel ? shown(channel.channel) : "ALL"));
        for (const emi_port_figures &port : channel.ports) {
            rows.push_back(words(port.port, port.data_mbps, port.efficiency_percent, port.burst,
                                 port.bus_mbps, port.latency_ns));
        }
    }
    add_sum(rows, report.sum, "ALL ", " - ", " -");
    return rows;
}

lines known_larb_rows(lines rows) {
    for (std::string &row : rows) {
        const std::size_t cells = ::tests::words_of(row).size();
        row = cells == 8                                ? as_known(row, none, 5, none)
              : cells == 3 && row.find(':') == row.npos ? as_known(row, 0, 1, 2)
                                                        : row;
    }
    return rows;
}

lines known_common_rows(lines rows) {
    for (std::string &row : rows) {
        row = row.starts_with("In ") ? as_known(row, none, 7, none) : row;
    }
    return rows;
}

// From port 8 on, the register of a port's latencies is another port's count.
lines known_emi_rows(lines rows) {
    for (std::string &row : rows) {
        if (row.starts_with("CENTRAL_EMI")) {
            continue;
        }
        row = as_known(row, 1, 2, 4);
        if (!row.starts_with("ALL") && std::stoul(row) >= 8) {
            row = row.substr(0, row.rfind(' ')) + " -";
        }
    }
    return rows;
}

// As many as the page has room for.
void expect_rows(const report_head &head, const lines &found, lines expected) {
    EXPECT_EQ(head.unparsed, lines{});
    if (!head.complete) {
        EXPECT_EQ(head.reasons, lines{"cut at 4095 bytes"});
        ASSERT_LT(found.size(), expected.size());
        expected.resize(found.size());
    }
    EXPECT_EQ(found, expected);
}

// A chip with its registers as they are after a reset.
class compared_chip {
  public:
    explicit compared_chip(const std::string &chip) : model_(chip) {}

    const devicetree::flat_tree &tree() { return model_.chip.machine().tree(); }

    void expect_all(const soc::scenario &traffic, std::uint32_t time_ms) {
        const oracle expected(tree(), traffic, time_ms);
        model_.chip.chip().set_scenario(traffic);
        expect_total(expected, time_ms);
        expect_ports(expected, time_ms);
        expect_emi(expected, time_ms);
    }

  private:
    std::uint32_t dram(const char *what) { return *tree().by_name("dram_config")->u32(what); }

    std::string verdict_of(std::uint64_t percent) {
        const std::uint32_t penalty = dram("dram_penalty");
        return percent > penalty ? "DANGER" : percent > penalty - 10 ? "WARNING" : "SAFE";
    }

    void expect_modules(const total_report &report, const oracle &expected) {
        const auto modules = ::tests::modules_of(tree());
        lines rows;
        for (const ::tests::expected_row &row : expected.total()) {
            rows.push_back(as_known(
                words(row.name, row.data, row.effi, row.bus, row.ultra, row.preultra), 1, 2, 3));
        }
        EXPECT_EQ(row_of(report.sum), rows.back());
        rows.pop_back();
        ASSERT_EQ(report.modules.size(), rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ(row_of(report.modules[i]), rows[i]);
            EXPECT_EQ(report.modules[i].id, i);
            EXPECT_EQ(report.modules[i].domain, modules.at(i)->string("domain"));
        }
    }

    void expect_bars(const total_report &report, const oracle &expected) {
        lines bars;
        lines found;
        for (const ::tests::expected_row &row : expected.total()) {
            if (row.bus != 0) {
                bars.push_back(words(row.name, row.bus, row.bus * 1000 / expected.peak()));
            }
        }
        for (const bar_figures &bar : report.bars) {
            found.push_back(words(bar.name, bar.bus_mbps, bar.usage_permille));
        }
        EXPECT_TRUE(report.view == "full");
        expect_rows(report.head, found, bars);
    }

    void expect_usage(const usage_figures &usage, const oracle &expected) {
        const auto peak = static_cast<std::int64_t>(expected.peak());
        const auto bus = static_cast<std::int64_t>(expected.total().back().bus);
        EXPECT_EQ(words(usage.total_mbps, usage.bus_mbps, usage.percent, usage.slack_mbps,
                        usage.slack_percent),
                  words(figure(peak), figure(bus), figure(bus * 100 / peak),
                        signed_figure(peak - bus), signed_figure((peak - bus) * 100 / peak)));
    }

    // Of a report that was cut, the verdict is lost, and the totals are those of the simple view.
    void expect_total(const oracle &expected, std::uint32_t time_ms) {
        ::tests::enable_all(model_.chip, time_ms);
        const total_readings readings = take_total(model_);
        const total_report report = parse_total(readings);
        const bool cut = readings.simple.has_value();
        const std::uint64_t percent = expected.total().back().bus * 100 / expected.peak();

        expect_modules(report, expected);
        expect_usage(report.usage, expected);
        EXPECT_EQ(report.head.complete, !cut);
        EXPECT_EQ(report.status, cut ? label() : verdict_of(percent));
        EXPECT_EQ(words(report.dram.width_bits, report.dram.clock_mtps),
                  cut ? "- -" : words(dram("bus_width"), expected.peak() * 8 / dram("bus_width")));
        expect_bars(report, expected);
        expect_simple(expected);
    }

    void expect_simple(const oracle &expected) {
        model_.write("simple_mon", "1");
        const total_report report = parse_total(take_reading(model_, "bw_total"));
        model_.write("simple_mon", "0");
        lines found;
        lines rows;
        for (const module_figures &each : report.modules) {
            found.push_back(row_of(each));
        }
        found.push_back(row_of(report.sum));
        for (const ::tests::expected_row &row : expected.total()) {
            if (row.name != "REF_EMI") {
                rows.push_back(words(row.name, "- -", row.bus, "- -"));
            }
        }
        EXPECT_TRUE(report.head.complete);
        EXPECT_EQ(report.view, "simple");
        EXPECT_EQ(found, rows);
        expect_usage(report.usage, expected);
    }

    void expect_ports(const oracle &expected, std::uint32_t time_ms) {
        const std::string time = std::to_string(time_ms);
        larb_selector selector(model_);
        for (std::uint32_t id = 0; id < ::tests::modules_of(tree()).size(); ++id) {
            SCOPED_TRACE("larbs of module " + std::to_string(id));
            const larb_report report = selector.take(id, time_ms);
            expect_rows(report.head, rows_of(report), known_larb_rows(expected.larb_report(id)));
        }
        model_.write("bw_scomm", time);
        const scomm_report report = parse_scomm(take_reading(model_, "bw_scomm"));
        expect_rows(report.head, rows_of(report), known_common_rows(expected.common_report()));
    }

    void expect_emi(const oracle &expected, std::uint32_t time_ms) {
        model_.write("bw_emi", std::to_string(time_ms));
        const emi_report all = parse_emi(take_reading(model_, "bw_emi"));
        expect_rows(all.head, rows_of(all), known_emi_rows(expected.emi_total()));
        const emi_report detail = take_emi_detail(model_);
        expect_rows(detail.head, rows_of(detail), known_emi_rows(expected.emi_detail()));
        EXPECT_EQ(parse_bus(take_bus(model_)).usage_percent, expected.bus_percent());
    }

    model_source model_;
};

class report_figures : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(chips, report_figures, testing::ValuesIn(sim::chip_names()),
                         [](const auto &chip) { return chip.param; });

}  // namespace

TEST_P(report_figures, equal_the_models_own_in_every_scenario) {
    for (const std::string &name : sim::scenario_names(GetParam())) {
        SCOPED_TRACE(name);
        compared_chip(GetParam()).expect_all(sim::find_scenario(GetParam(), name), 16);
    }
}

TEST_P(report_figures, equal_the_models_own_with_random_traffic) {
    for (unsigned seed = 101; seed <= 108; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        ::tests::random_traffic random(seed);
        compared_chip compared(GetParam());
        const std::uint32_t time = 1 + random.up_to(40);
        compared.expect_all(random.scenario(compared.tree()), time);
    }
}

TEST(total_report, of_all_modules_of_zt440_is_cut_and_has_the_totals_of_the_simple_view) {
    model_source model("zt440");
    model.chip.chip().set_scenario(sim::find_scenario("zt440", "overload"));
    ::tests::enable_all(model.chip, 16);
    const total_readings readings = take_total(model);
    const total_report report = parse_total(readings);

    EXPECT_EQ(readings.first.came.text.size(), 4095u);
    EXPECT_FALSE(report.head.complete);
    EXPECT_EQ(report.head.reasons, lines{"cut at 4095 bytes"});
    EXPECT_EQ(report.view, "full");
    EXPECT_EQ(report.status, std::nullopt);
    EXPECT_GT(report.usage.percent, 85u);
    EXPECT_GE(report.simple_view.start_ns, report.head.end_ns);
    EXPECT_GT(report.simple_view.end_ns, report.simple_view.start_ns);
    EXPECT_EQ(parse_total(take_reading(model, "bw_total")).view, "full") << "put back";
}

}  // namespace ovk::tests
