// SPDX-License-Identifier: GPL-2.0-only
// Settings and listings in the reports against the chip's registers and its device tree.
#include <nlohmann/json.hpp>
#include <random>
#include <set>

#include "ovk/report/render.h"
#include "ovk/report/take.h"
#include "ovk/tests/chip_source.h"
#include "tests/oracle.h"

namespace ovk::tests {

namespace {

std::string place(const std::string &block, std::uint64_t offset) {
    std::ostringstream text;
    text << block << "0x" << std::hex << offset;
    return text.str();
}

std::string in_larb(std::uint32_t larb, std::uint32_t offset) {
    return place("larb" + std::to_string(larb) + "+", offset);
}

// A bank of 16-bit registers lies at its bus address times 512 behind the start of the bus.
std::string in_fifo(const devicetree::node &fifo, std::uint64_t offset) {
    return place("", 0x1c000000 + *fifo.u32("riu-base") * 512ull + offset);
}

class report_settings : public testing::TestWithParam<std::string> {
  protected:
    std::uint32_t emi(const char *what) { return *chip.tree().by_name("emi_arch")->u32(what); }

    // What is in a register is drawn by lot when it is asked for first, before there is a report.
    std::uint64_t bits(const std::string &place, unsigned first, unsigned mask) {
        if (drawn_.insert(place).second) {
            chip.rig().poke(place, static_cast<std::uint32_t>(random_()));
        }
        return chip.rig().peek(place) >> first & mask;
    }

    // Ports 0 and 1 share a word; ports 4 to 7 have a pair of limit words of their own.
    json emi_limits_of(std::uint32_t channel, std::uint32_t port) {
        const std::string block = "emi_cen" + std::to_string(channel) + "+";
        const std::string word = place(block, port < 2 ? 0x100 : 0x100 + 8 * port);
        const std::uint64_t limits = port / 4 == 1 ? 0xd8 : 0xd0;
        const auto limit = [&](unsigned first) {
            return bits(place(block, limits + 4), first, 0xf) << 4 |
                   bits(place(block, limits), first, 0xf);
        };
        const unsigned read = 8 * (port % 4);
        return {{"channel", channel},
                {"port", port},
                {"bandwidth_limit", bits(word, 0, 0x3f)},
                {"read_timer", bits(word, 16, 0xff)},
                {"write_timer", bits(word, 24, 0xff)},
                {"read_outstanding", limit(read)},
                {"write_outstanding", limit(read + 4)}};
    }

    // In the order of the modules: larb, port, limit and forced priorities.
    json larb_ports() {
        json all = json::array();
        for (const auto &[larb, port] : chip.larb_ports()) {
            all.push_back({larb, port, bits(in_larb(larb, 0x200 + 4 * port), 0, 0xff),
                           bits(in_larb(larb, 0x78), port, 1) == 1,
                           bits(in_larb(larb, 0x7c), port, 1) == 1});
        }
        return all;
    }

    chip_source chip{GetParam()};

  private:
    std::set<std::string> drawn_;
    std::mt19937 random_{7};
};

INSTANTIATE_TEST_SUITE_P(chips, report_settings, testing::ValuesIn(sim::chip_names()),
                         [](const auto &chip) { return chip.param; });

json domain_with_a_colour(const std::string &domain) {
    return domain == "INPUT" || domain == "TS" || domain == "FRAME" || domain == "GFX"
               ? json(domain)
               : json();
}

json emi_ports_of(const std::string &module) {
    return module == "CPU" ? json{0, 1} : module == "GPU" ? json{7} : json::array();
}

json groups_of(const devicetree::node &module, const char *block) {
    json groups = json::array();
    for (const auto &[is_larb, number, ports] : ::tests::port_groups_of(module)) {
        if (is_larb == (block == std::string("larb"))) {
            groups.push_back({{block, number}, {"ports", ports}});
        }
    }
    return groups;
}

}  // namespace

TEST_P(report_settings, of_limits_and_priorities_are_those_of_the_registers) {
    const json ports = larb_ports();
    json shown = json::array();
    json channels = json::array();
    json larbs = json::array();
    for (std::uint32_t channel = 0; channel < emi("emi_cnt"); ++channel) {
        for (std::uint32_t port = 0; port < emi("emi_port_cnt"); ++port) {
            channels.push_back(emi_limits_of(channel, port));
        }
    }
    for (const json &port : ports) {
        larbs.push_back({{"larb", port[0]}, {"port", port[1]}, {"outstanding_limit", port[2]}});
    }
    chip.set("cpupri 1 0 0x40000000 0x10000");
    chip.set("cpupri 2 2 0x123456000 0x1000");
    const json ranges = json::array({{{"scope", 0}, {"start", 0x40000000}, {"end", 0x4000ffff}},
                                     {{"scope", 2}, {"start", 0x123456000}, {"end", 0x123456fff}}});
    const json report = json_of(take_limits(chip));

    EXPECT_EQ(report["reason"], json());
    EXPECT_EQ(report["emi"], channels);
    EXPECT_EQ(report["larbs"], larbs);
    EXPECT_EQ(report["cpu_ranges"], chip.tree().by_name("cpu_pri") ? ranges : json::array());
    larb_selector selector(chip);
    for (const larb_module &module : selector.ports().larb_modules) {
        for (const larb_figures &larb : selector.take(*module.id).larbs) {
            for (const larb_port_figures &port : larb.ports) {
                shown.push_back({*larb.larb, *port.port, *port.outstanding_limit, *port.force_ultra,
                                 *port.force_preultra});
            }
        }
    }
    EXPECT_EQ(shown, ports);
}

TEST_P(report_settings, of_ports_are_those_of_the_device_tree) {
    json modules = json::array();
    json behind_larbs = json::array();

    for (const devicetree::node *module : ::tests::modules_of(chip.tree())) {
        const std::string name = *module->string("module-name");
        if (name == "REF_EMI" || name == "SUM") {
            continue;
        }
        const json larbs = groups_of(*module, "larb");
        if (!larbs.empty()) {
            behind_larbs.push_back({{"id", modules.size()}, {"name", name}});
        }
        modules.push_back({{"id", modules.size()},
                           {"name", name},
                           {"domain", domain_with_a_colour(*module->string("domain"))},
                           {"emi_ports", emi_ports_of(name)},
                           {"larbs", larbs},
                           {"commons", groups_of(*module, "common")}});
    }
    const json report = json_of(take_ports(chip));
    EXPECT_EQ(report["reason"], json());
    EXPECT_EQ(report["modules"], modules);
    EXPECT_EQ(report["larb_modules"], behind_larbs);
}

TEST_P(report_settings, of_fifos_are_those_of_the_registers) {
    json fifos = json::array();
    for (const auto &node : chip.tree().nodes()) {
        if (node->string("device_type") != "fifo") {
            continue;
        }
        const std::string thresholds = in_fifo(*node, 0x54);
        const std::string urgent = in_fifo(*node, 0x58);
        chip.rig().pin(in_fifo(*node, 0x140), 1);
        chip.rig().pin(in_fifo(*node, 0x1c8), fifos.empty() ? 4 : 0);
        fifos.push_back({{"id", fifos.size()},
                         {"module", *node->string("module-name")},
                         {"name", *node->string("ip-name")},
                         {"preultra_threshold", bits(thresholds, 0, 0x7f)},
                         {"preultra_masked", bits(thresholds, 7, 1) == 1},
                         {"ultra_threshold", bits(thresholds, 8, 0x7f)},
                         {"ultra_masked", bits(thresholds, 15, 1) == 1},
                         {"urgent_threshold", bits(urgent, 0, 0x7f)},
                         {"urgent_masked", bits(urgent, 7, 1) == 1},
                         {"not_done_count", fifos.empty() ? 2 : 0}});
    }
    chip.read("fifo_status");
    const json report = json_of(parse_fifo(take_reading(chip, "fifo_status")));

    EXPECT_EQ(report["reason"], json());
    EXPECT_EQ(report["fifos"], fifos);
}

}  // namespace ovk::tests
