// SPDX-License-Identifier: GPL-2.0-only
// Settings and listings in the reports against the chip's registers and its device tree.
#include <random>
#include <set>

#include "ovk/report/take.h"
#include "ovk/tests/model_source.h"
#include "tests/oracle.h"

namespace ovk::tests {

namespace {

using numbers = std::vector<figure>;

class report_settings : public testing::TestWithParam<std::string> {
  protected:
    const devicetree::flat_tree &tree() { return model.chip.machine().tree(); }
    std::uint32_t emi(const char *what) { return *tree().by_name("emi_arch")->u32(what); }

    // All that follows counts on these being different.
    void scramble(const std::string &place) {
        model.chip.poke(place, static_cast<std::uint32_t>(random_()));
    }
    std::uint64_t bits(const std::string &place, unsigned first, unsigned mask) {
        return model.chip.peek(place) >> first & mask;
    }
    static std::string hexadecimal(std::uint64_t number) {
        char text[24];
        std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(number));
        return text;
    }
    static std::string at(const std::string &block, std::uint64_t number, std::uint64_t offset) {
        return block + std::to_string(number) + "+" + hexadecimal(offset);
    }

    // Ports 0 and 1 share a word; ports 4 to 7 have a pair of limit words of their own.
    static std::uint64_t arbitration(std::uint64_t port) {
        return port < 2 ? 0x100 : 0x100 + 8 * port;
    }
    static std::uint64_t limit_words(std::uint64_t port) { return port / 4 == 1 ? 0xd8 : 0xd0; }

    void scramble_all() {
        for (std::uint32_t channel = 0; channel < emi("emi_cnt"); ++channel) {
            for (std::uint32_t port = 0; port < emi("emi_port_cnt"); ++port) {
                scramble(at("emi_cen", channel, arbitration(port)));
                scramble(at("emi_cen", channel, limit_words(port)));
                scramble(at("emi_cen", channel, limit_words(port) + 4));
            }
        }
        for (const auto &[larb, port] : larb_ports()) {
            scramble(at("larb", larb, 0x78));
            scramble(at("larb", larb, 0x7c));
            scramble(at("larb", larb, 0x200 + 4 * port));
        }
    }

    std::vector<std::pair<std::uint32_t, std::uint32_t>> larb_ports() {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> all;
        for (const devicetree::node *module : ::tests::modules_of(tree())) {
            for (const ::tests::port_group &group : ::tests::port_groups_of(*module)) {
                for (const std::uint32_t port : group.ports) {
                    if (group.larb) {
                        all.emplace_back(group.block, port);
                    }
                }
            }
        }
        return all;
    }

    numbers emi_settings(std::uint64_t channel, std::uint64_t port) {
        const std::string word = at("emi_cen", channel, arbitration(port));
        const std::string low = at("emi_cen", channel, limit_words(port));
        const std::string high = at("emi_cen", channel, limit_words(port) + 4);
        const auto read = static_cast<unsigned>(8 * (port % 4));
        const auto limit = [&](unsigned first) {
            return bits(high, first, 0xf) << 4 | bits(low, first, 0xf);
        };
        return {bits(word, 0, 0x3f), bits(word, 16, 0xff), bits(word, 24, 0xff), limit(read),
                limit(read + 4)};
    }
    static numbers shown(const emi_limits &limits) {
        return {limits.bandwidth_limit, limits.read_timer, limits.write_timer,
                limits.read_outstanding, limits.write_outstanding};
    }

    std::mt19937 random_{7};
    model_source model{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(chips, report_settings, testing::ValuesIn(sim::chip_names()),
                         [](const auto &chip) { return chip.param; });

label domain_with_a_colour(const devicetree::node &module) {
    const label domain = module.string("domain");
    return domain == "INPUT" || domain == "TS" || domain == "FRAME" || domain == "GFX" ? domain
                                                                                       : label();
}

template <class list>
std::string group(const char *block, std::uint64_t number, const list &ports) {
    std::string text = block + std::to_string(number) + ":";
    for (const auto port : ports) {
        text += " " + std::to_string(port);
    }
    return text;
}

std::multiset<std::string> groups_of(const module_ports &module) {
    std::multiset<std::string> all;
    for (const larb_group &each : module.larbs) {
        all.insert(group("larb", *each.larb, each.ports));
    }
    for (const common_group &each : module.commons) {
        all.insert(group("common", *each.common, each.ports));
    }
    return all;
}

std::multiset<std::string> groups_of(const devicetree::node &module) {
    std::multiset<std::string> all;
    for (const ::tests::port_group &each : ::tests::port_groups_of(module)) {
        all.insert(group(each.larb ? "larb" : "common", each.block, each.ports));
    }
    return all;
}

std::vector<std::uint64_t> emi_ports_of(const std::string &module) {
    using list = std::vector<std::uint64_t>;
    return module == "CPU" ? list{0, 1} : module == "GPU" ? list{7} : list{};
}

}  // namespace

TEST_P(report_settings, of_limits_are_those_of_the_registers) {
    scramble_all();
    model.write("cpupri", "1 0 0x40000000 0x10000");
    model.write("cpupri", "2 2 0x123456000 0x1000");
    const limits_report report = take_limits(model);
    std::size_t i = 0;

    EXPECT_TRUE(report.head.complete) << report.head.reasons.front();
    ASSERT_EQ(report.emi.size(), emi("emi_cnt") * emi("emi_port_cnt"));
    for (const emi_port_limits &each : report.emi) {
        EXPECT_EQ(shown(each.limits), emi_settings(*each.channel, *each.port)) << i;
        EXPECT_EQ(*each.channel * emi("emi_port_cnt") + *each.port, i++);
    }
    const auto ports = larb_ports();
    ASSERT_EQ(report.larbs.size(), ports.size());
    for (i = 0; i < ports.size(); ++i) {
        const auto [larb, port] = ports[i];
        const larb_port_limit &each = report.larbs[i];
        EXPECT_EQ((numbers{each.larb, each.port, each.outstanding_limit}),
                  (numbers{larb, port, bits(at("larb", larb, 0x200 + 4 * port), 0, 0xff)}));
    }
    if (tree().by_name("cpu_pri") == nullptr) {
        EXPECT_TRUE(report.cpu_ranges.empty());
        return;
    }
    ASSERT_EQ(report.cpu_ranges.size(), 2u);
    const cpu_range &last = report.cpu_ranges[1];
    EXPECT_EQ((numbers{last.scope, last.start, last.end}), (numbers{2, 0x123456000, 0x123456fff}));
}

TEST_P(report_settings, of_larb_ports_are_those_of_the_registers) {
    scramble_all();
    larb_selector selector(model);

    for (const larb_module &module : selector.ports().larb_modules) {
        for (const larb_figures &larb : selector.take(*module.id).larbs) {
            for (const larb_port_figures &port : larb.ports) {
                const auto bit = static_cast<unsigned>(*port.port);
                EXPECT_EQ(port.outstanding_limit,
                          bits(at("larb", *larb.larb, 0x200 + 4 * *port.port), 0, 0xff));
                EXPECT_EQ(port.force_ultra, bits(at("larb", *larb.larb, 0x78), bit, 1) == 1);
                EXPECT_EQ(port.force_preultra, bits(at("larb", *larb.larb, 0x7c), bit, 1) == 1);
            }
        }
    }
}

TEST_P(report_settings, of_ports_are_those_of_the_device_tree) {
    const ports_report report = take_ports(model);
    std::vector<larb_module> behind_larbs;
    std::uint64_t id = 0;

    EXPECT_TRUE(report.head.complete);
    for (const devicetree::node *module : ::tests::modules_of(tree())) {
        const std::string name = *module->string("module-name");
        if (name == "REF_EMI" || name == "SUM") {
            continue;
        }
        ASSERT_LT(id, report.modules.size());
        const module_ports &found = report.modules[id];
        EXPECT_EQ(found.id, id);
        EXPECT_EQ(found.name, name);
        EXPECT_EQ(found.domain, domain_with_a_colour(*module)) << name;
        EXPECT_EQ(found.emi_ports, emi_ports_of(name));
        EXPECT_EQ(groups_of(found), groups_of(*module)) << name;
        if (!found.larbs.empty()) {
            behind_larbs.push_back({id, name});
        }
        ++id;
    }
    EXPECT_EQ(report.modules.size(), id);
    ASSERT_EQ(report.larb_modules.size(), behind_larbs.size());
    for (std::size_t i = 0; i < behind_larbs.size(); ++i) {
        EXPECT_EQ(report.larb_modules[i].id, behind_larbs[i].id);
        EXPECT_EQ(report.larb_modules[i].name, behind_larbs[i].name);
    }
}

// A bank of 16-bit registers lies at its bus address times 512 behind the start of the bus.
TEST_P(report_settings, of_fifos_are_those_of_the_registers) {
    std::vector<const devicetree::node *> fifos;
    for (const auto &node : tree().nodes()) {
        if (node->string("device_type") == "fifo") {
            fifos.push_back(node.get());
        }
    }
    const auto place = [](const devicetree::node &fifo, std::uint64_t offset) {
        return hexadecimal(0x1c000000 + *fifo.u32("riu-base") * 512ull + offset);
    };
    for (const devicetree::node *each : fifos) {
        scramble(place(*each, 0x54));
        scramble(place(*each, 0x58));
        model.chip.pin(place(*each, 0x140), 1);
        model.chip.pin(place(*each, 0x1c8), each == fifos.front() ? 4 : 0);
    }
    model.read("fifo_status");
    const fifo_report report = parse_fifo(take_reading(model, "fifo_status"));

    EXPECT_TRUE(report.head.complete);
    ASSERT_EQ(report.fifos.size(), fifos.size());
    for (std::size_t i = 0; i < fifos.size(); ++i) {
        const fifo_figures &found = report.fifos[i];
        const std::string thresholds = place(*fifos[i], 0x54);
        const std::string urgent = place(*fifos[i], 0x58);
        EXPECT_EQ(found.module, fifos[i]->string("module-name"));
        EXPECT_EQ(found.name, fifos[i]->string("ip-name"));
        EXPECT_EQ((numbers{found.id, found.preultra_threshold, found.ultra_threshold,
                           found.urgent_threshold, found.not_done_count}),
                  (numbers{i, bits(thresholds, 0, 0x7f), bits(thresholds, 8, 0x7f),
                           bits(urgent, 0, 0x7f), i == 0 ? 2u : 0u}));
        EXPECT_EQ(found.preultra_masked, bits(thresholds, 7, 1) == 1);
        EXPECT_EQ(found.ultra_masked, bits(thresholds, 15, 1) == 1);
        EXPECT_EQ(found.urgent_masked, bits(urgent, 7, 1) == 1);
    }
}

}  // namespace ovk::tests
