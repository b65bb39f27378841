// SPDX-License-Identifier: GPL-2.0-only
// Every figure of every report against what follows from the chip's device tree, its registers and
// the traffic that was put in, by another way than the module's text.
#include <nlohmann/json.hpp>

#include "ovk/report/render.h"
#include "ovk/report/take.h"
#include "ovk/tests/chip_source.h"
#include "ovk/tests/program.h"
#include "tests/oracle.h"
#include "tests/random_traffic.h"
#include "tests/report_text.h"

namespace ovk::tests {

namespace {

using ::tests::oracle;

const lines module_row =
    words_in("id name domain data_mbps efficiency_percent bus_mbps ultra_percent preultra_percent");
const lines bar_row = words_in("name bus_mbps usage_permille");
const lines usage_row = words_in("total_mbps bus_mbps percent slack_mbps slack_percent");
const lines larb_row = words_in(
    "port read_mbps write_mbps max_period_ns burst efficiency_percent ultra_percent "
    "preultra_percent");
const lines sum_row = words_in("data_mbps efficiency_percent bus_mbps");
const lines common_row = words_in(
    "direction port read_mbps write_mbps max_read_period_ns max_write_period_ns burst "
    "efficiency_percent ultra_percent preultra_percent");
const lines emi_row = words_in("port data_mbps efficiency_percent burst bus_mbps latency_ns");

template <class... values>
std::string line(const values &...each) {
    std::ostringstream text;
    ((text << " " << each), ...);
    return text.str().substr(1);
}

std::string shown(const json &value) {
    return value.is_null() ? "-" : value.is_string() ? value.get<std::string>() : value.dump();
}

std::string row_of(const json &object, const lines &members) {
    std::string row;
    for (const std::string &member : members) {
        row += (row.empty() ? "" : " ") + shown(object.at(member));
    }
    return row;
}

lines rows_of(const json &list, const lines &members) {
    lines rows;
    for (const json &each : list) {
        rows.push_back(row_of(each, members));
    }
    return rows;
}

lines module_rows(const json &report) {
    lines rows = rows_of(report["modules"], module_row);
    rows.push_back(row_of(report["sum"], module_row));
    return rows;
}

// Of larbs, SMI commons or EMI channels: a title, and a row for each port.
lines block_rows(const json &blocks, const std::string &title, const char *number,
                 const lines &members) {
    lines rows;
    for (const json &block : blocks) {
        rows.push_back(title + (block[number].is_null() ? "ALL" : shown(block[number])));
        for (const std::string &row : rows_of(block["ports"], members)) {
            rows.push_back(row);
        }
    }
    return rows;
}

// What the chip's row tells who goes by the text. An efficiency of 0 is one that is not known, and
// neither is what such data cost on the bus. From port 8 on, the register of a port's latencies is
// another port's count.
std::string known(const std::string &row, const lines &members) {
    const lines words = ::tests::words_of(row);
    json cells;

    if (words.size() != members.size()) {
        return row;
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        cells[members[i]] = words[i];
    }
    if (cells.value("efficiency_percent", "") == "0") {
        cells["efficiency_percent"] = nullptr;
    }
    if (std::atoi(cells.value("data_mbps", "").c_str()) > 0 && cells["bus_mbps"] == "0") {
        cells["bus_mbps"] = nullptr;
    }
    if (cells.contains("latency_ns") && std::atoi(words[0].c_str()) >= 8) {
        cells["latency_ns"] = nullptr;
    }
    return row_of(cells, members);
}

// As many as the page has room for.
void expect_rows(const json &report, const lines &found, lines expected, const lines &members) {
    EXPECT_EQ(report["unparsed"], json::array());
    if (!report["complete"]) {
        EXPECT_EQ(report["reason"], "cut at 4095 bytes");
        ASSERT_LT(found.size(), expected.size());
        expected.resize(found.size());
    }
    for (std::string &row : expected) {
        row = known(known(row, members), sum_row);
    }
    EXPECT_EQ(found, expected);
}

// A chip with its registers as they are after a reset.
class compared_chip {
  public:
    explicit compared_chip(const std::string &soc) : chip_(soc) {}

    const devicetree::flat_tree &tree() { return chip_.tree(); }

    void expect_all(const soc::scenario &traffic, std::uint32_t time_ms) {
        const oracle expected(tree(), traffic, time_ms);
        chip_.chip().set_scenario(traffic);
        ::tests::enable_all(chip_.rig(), time_ms);
        expect_total(expected);
        expect_simple(expected);
        expect_larbs(expected, time_ms);
        expect_commons(expected, time_ms);
        expect_emi(expected, time_ms);
    }

  private:
    std::uint32_t dram(const char *what) { return *tree().by_name("dram_config")->u32(what); }

    json verdict_on(std::uint64_t percent) {
        const std::uint32_t penalty = dram("dram_penalty");
        return percent > penalty ? "DANGER" : percent > penalty - 10 ? "WARNING" : "SAFE";
    }

    void expect_usage(const json &usage, const oracle &expected) {
        const auto peak = static_cast<std::int64_t>(expected.peak());
        const auto bus = static_cast<std::int64_t>(expected.total().back().bus);
        EXPECT_EQ(row_of(usage, usage_row),
                  line(peak, bus, bus * 100 / peak, peak - bus, (peak - bus) * 100 / peak));
    }

    // Of a report that was cut, the verdict is lost, and the totals are those of the simple view.
    void expect_total(const oracle &expected) {
        const total_readings readings = take_total(chip_);
        const json report = json_of(parse_total(readings));
        const bool cut = readings.simple.has_value();
        const std::uint64_t peak = expected.peak();
        lines rows;
        lines bars;

        for (const ::tests::expected_row &row : expected.total()) {
            const auto *const module = ::tests::modules_of(tree()).at(rows.size());
            rows.push_back(known(line(rows.size(), row.name, *module->string("domain"), row.data,
                                      row.effi, row.bus, row.ultra, row.preultra),
                                 module_row));
            if (row.bus != 0) {
                bars.push_back(line(row.name, row.bus, row.bus * 1000 / peak));
            }
        }
        EXPECT_EQ(module_rows(report), rows);
        expect_rows(report, rows_of(report["bars"], bar_row), bars, bar_row);
        expect_usage(report["usage"], expected);
        EXPECT_EQ(report["view"], "full");
        EXPECT_EQ(report["complete"], !cut);
        EXPECT_EQ(report["status"],
                  cut ? json() : verdict_on(expected.total().back().bus * 100 / peak));
        EXPECT_EQ(row_of(report["dram"], {"width_bits", "clock_mtps"}),
                  cut ? "- -" : line(dram("bus_width"), peak * 8 / dram("bus_width")));
    }

    void expect_simple(const oracle &expected) {
        chip_.write("simple_mon", "1");
        const json report = json_of(parse_total(take_reading(chip_, "bw_total")));
        chip_.write("simple_mon", "0");
        lines rows;
        for (const ::tests::expected_row &row : expected.total()) {
            if (row.name != "REF_EMI") {
                rows.push_back(line("-", row.name, "- - -", row.bus, "- -"));
            }
        }
        EXPECT_EQ(report["view"], "simple");
        expect_rows(report, module_rows(report), rows, module_row);
        expect_usage(report["usage"], expected);
    }

    void expect_larbs(const oracle &expected, std::uint32_t time_ms) {
        larb_selector selector(chip_);
        for (std::uint32_t id = 0; id < ::tests::modules_of(tree()).size(); ++id) {
            SCOPED_TRACE("larbs of module " + std::to_string(id));
            const json report = json_of(selector.take(id, time_ms));
            const lines rows = block_rows(report["larbs"], "SMI_LARB ", "larb", larb_row);
            lines found = {"Module : " + shown(report["module"])};
            found.insert(found.end(), rows.begin(), rows.end());
            if (report["supported"] == false) {
                found = {shown(report["module"]) + " not support larb monitor"};
            } else if (!report["sum"]["data_mbps"].is_null()) {
                found.push_back(row_of(report["sum"], sum_row));
            }
            expect_rows(report, found, expected.larb_report(id), larb_row);
        }
    }

    void expect_commons(const oracle &expected, std::uint32_t time_ms) {
        chip_.write("bw_scomm", std::to_string(time_ms));
        const json report = json_of(parse_scomm(take_reading(chip_, "bw_scomm")));
        lines found = block_rows(report["commons"], "SMI_COMMON ", "common", common_row);
        for (std::string &row : found) {
            row.front() = static_cast<char>(std::toupper(row.front()));
        }
        expect_rows(report, found, expected.common_report(), common_row);
    }

    void expect_emi(const oracle &expected, std::uint32_t time_ms) {
        chip_.write("bw_emi", std::to_string(time_ms));
        const json all = json_of(parse_emi(take_reading(chip_, "bw_emi")));
        const json detail = json_of(take_emi_detail(chip_));
        const auto rows = [](const json &report) {
            return block_rows(report["channels"], "CENTRAL_EMI ", "channel", emi_row);
        };
        lines found = rows(all);
        const json &sum = all["sum"];
        found.push_back(line("ALL", shown(sum["data_mbps"]), shown(sum["efficiency_percent"]), "-",
                             shown(sum["bus_mbps"]), "-"));
        expect_rows(all, found, expected.emi_total(), emi_row);
        expect_rows(detail, rows(detail), expected.emi_detail(), emi_row);
        EXPECT_EQ(parse_bus(take_bus(chip_)).usage_percent, expected.bus_percent());
    }

    chip_source chip_;
};

}  // namespace

TEST(report_figures, equal_the_models_own_in_every_scenario) {
    for (const std::string &soc : sim::chip_names()) {
        for (const std::string &name : sim::scenario_names(soc)) {
            SCOPED_TRACE(soc + " " + name);
            compared_chip(soc).expect_all(sim::find_scenario(soc, name), 16);
        }
    }
}

TEST(report_figures, equal_the_models_own_with_random_traffic) {
    for (const std::string &soc : sim::chip_names()) {
        for (unsigned seed = 101; seed <= 108; ++seed) {
            SCOPED_TRACE(soc + " seed " + std::to_string(seed));
            ::tests::random_traffic random(seed);
            compared_chip compared(soc);
            const std::uint32_t time = 1 + random.up_to(40);
            compared.expect_all(random.scenario(compared.tree()), time);
        }
    }
}

TEST(total_report, of_all_modules_of_zt440_is_cut_and_has_the_totals_of_the_simple_view) {
    chip_source chip("zt440", "overload");
    ::tests::enable_all(chip.rig(), 16);
    const total_report report = parse_total(take_total(chip));

    EXPECT_EQ(report.head.reasons, lines{"cut at 4095 bytes"});
    EXPECT_EQ(report.status, std::nullopt);
    EXPECT_GT(report.usage.percent, 85u);
    EXPECT_GE(report.simple_view.start_ns, report.head.end_ns);
    EXPECT_GT(report.simple_view.end_ns, report.simple_view.start_ns);
    EXPECT_EQ(parse_total(take_reading(chip, "bw_total")).view, "full") << "put back";
}

}  // namespace ovk::tests
