// SPDX-License-Identifier: GPL-2.0-only
// A simulated chip with its registers at hand, and writes that go wrong when the test wants it.
#pragma once

#include <cerrno>
#include <functional>

#include "ovk/source/source.h"
#include "sim/simulator.h"

namespace ovk::tests {

class chip_source : public source {
  public:
    explicit chip_source(const std::string &soc)
        : simulator_({.tree = sim::chip_tree(soc), .soc = soc, .dram_freq = {}}) {
        machine().load();
        machine().take_log();
    }

    std::string name() const override { return "chip"; }
    answer read(std::string_view attribute) override {
        host::read_result came = machine().read(attribute);
        return {came.text, came.code < 0 ? int(-came.code) : 0, 0, 0};
    }
    answer write(std::string_view attribute, std::string_view text) override {
        ++writes;
        if (before_write) {
            before_write();
        }
        if (fails && fails(writes)) {
            return {"", EIO, 0, 0};
        }
        const long code = machine().write(attribute, text);
        return {"", code < 0 ? int(-code) : 0, 0, 0};
    }
    std::vector<std::string> log() override {
        std::vector<std::string> lines;
        for (const host::log_line &line : machine().take_log()) {
            lines.push_back(line.text);
        }
        return shows_log ? lines : std::vector<std::string>();
    }
    bool has_log() override { return shows_log; }
    std::int64_t now() override { return 0; }
    std::vector<std::string> attributes() override {
        std::vector<std::string> names;
        for (const host::attribute_info &each : machine().attributes()) {
            names.push_back(each.name);
        }
        return names;
    }
    std::string fact(std::string_view what) override {
        return what == "chip_compatible" ? "quorix," + simulator_.soc() : "";
    }

    // "larb3+0x200"
    std::uint32_t peek(const std::string &place) {
        return std::uint32_t(simulator_.chip().peek(simulator_.address_of(place), 32));
    }
    void poke(const std::string &place, std::uint32_t value) {
        simulator_.chip().poke(simulator_.address_of(place), 32, value);
    }
    void run(const std::string &scenario) { simulator_.set_scenario(scenario); }
    void hang(const std::string &block) { simulator_.chip().hang(block); }
    const devicetree::flat_tree &tree() { return machine().tree(); }

    std::size_t writes = 0;
    std::function<bool(std::size_t)> fails;  // whether the write of this number does, from 1
    bool shows_log = true;
    std::function<void()> before_write;

  private:
    host::machine &machine() { return simulator_.machine(); }

    sim::simulator simulator_;
};

}  // namespace ovk::tests
