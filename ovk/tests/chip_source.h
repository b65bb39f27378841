// SPDX-License-Identifier: GPL-2.0-only
// A simulated chip as a source, with the chip itself at hand, and reads and writes that go wrong
// when the test wants it.
#pragma once

#include <functional>

#include "ovk/source/source.h"
#include "tests/oracle.h"
#include "tests/rig.h"

namespace ovk::tests {

class chip_source : public source {
  public:
    explicit chip_source(const std::string &soc, const std::string &scenario = "")
        : chip_source(sim::chip_tree(soc), soc, scenario) {}
    // Of a device tree that was changed: that chip's scenario all the same.
    chip_source(devicetree::flat_tree tree, const std::string &soc, const std::string &scenario)
        : soc_(soc), rig_(std::move(tree)) {
        rig_.loaded();
        if (!scenario.empty()) {
            chip().set_scenario(sim::find_scenario(soc, scenario));
        }
    }

    std::string name() const override { return "chip"; }
    answer read(std::string_view attribute) override {
        const std::int64_t start = now();
        before_read();
        const host::read_result came = machine().read(attribute);
        return {came.text, errno_of(came.code), start, now()};
    }
    answer write(std::string_view attribute, std::string_view text) override {
        const int error = on_write(++writes);
        return {"", error != 0 ? error : errno_of(machine().write(attribute, text)), 0, 0};
    }
    // "ATTRIBUTE TEXT"
    void set(const std::string &setting) {
        const std::size_t blank = setting.find(' ');
        write(setting.substr(0, blank), setting.substr(blank + 1));
    }
    std::vector<std::string> log() override {
        std::vector<std::string> lines;
        for (const host::log_line &line : machine().take_log()) {
            lines.push_back(line.text);
        }
        return shows_log ? lines : std::vector<std::string>();
    }
    bool has_log() override { return shows_log; }
    void wait_until(std::int64_t) override {}  // nothing passes but what reports take
    std::int64_t now() override { return static_cast<std::int64_t>(machine().now_us()) * 1000; }
    std::vector<std::string> attributes() override {
        std::vector<std::string> names;
        for (const host::attribute_info &each : machine().attributes()) {
            names.push_back(each.name);
        }
        return names;
    }
    // What the module shows next, as far as texts begin with it.
    std::vector<std::string> selections() {
        return {read("bw_larb").text.substr(0, 60), read("larb_ostdl").text,
                read("bw_emi").text.substr(0, 300)};
    }
    std::string fact(std::string_view what) override {
        return what == "chip_compatible" ? "quorix," + soc_ : "";
    }

    // By larb and port, in the order of the modules that are behind them.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> larb_ports() {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> all;
        for (const devicetree::node *module : ::tests::modules_of(tree())) {
            for (const auto &[is_larb, larb, ports] : ::tests::port_groups_of(*module)) {
                for (const std::uint32_t port : is_larb ? ports : std::vector<std::uint32_t>()) {
                    all.emplace_back(larb, port);
                }
            }
        }
        return all;
    }

    ::tests::rig &rig() { return rig_; }
    sim::chip_bus &chip() { return rig_.chip(); }
    host::machine &machine() { return rig_.machine(); }
    const devicetree::flat_tree &tree() { return machine().tree(); }

    std::function<void()> before_read = [] {};  // may throw
    // Called with the number of each write, from 1. The write fails with the errno that it returns.
    std::function<int(std::size_t)> on_write = [](std::size_t) { return 0; };
    std::size_t writes = 0;
    bool shows_log = true;

  private:
    static int errno_of(long code) { return code < 0 ? static_cast<int>(-code) : 0; }

    std::string soc_;
    ::tests::rig rig_;
};

}  // namespace ovk::tests
