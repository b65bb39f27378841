// SPDX-License-Identifier: GPL-2.0-only
// A simulated chip for one test. It ends with the module unloaded, nothing held and nothing that a
// kernel would object to.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "sim/simulator.h"

namespace tests {

class rig {
  public:
    explicit rig(const std::string &soc = "zt430") : rig(sim::chip_tree(soc)) {}
    explicit rig(devicetree::flat_tree tree, std::vector<std::uint32_t> dram_freq = {})
        : simulator_({.tree = std::move(tree), .soc = "", .dram_freq = std::move(dram_freq)}) {}
    ~rig() {
        machine().unload();
        EXPECT_EQ(machine().holdings(), std::vector<std::string>{});
        EXPECT_EQ(machine().take_oopses(), std::vector<std::string>{});
    }
    rig(const rig &) = delete;
    rig &operator=(const rig &) = delete;

    host::machine &machine() { return simulator_.machine(); }
    sim::chip_bus &chip() { return simulator_.chip(); }
    sim::simulator &simulator() { return simulator_; }

    // Loads and forgets what loading logged.
    rig &loaded() {
        EXPECT_EQ(machine().load(), 0);
        machine().take_log();
        return *this;
    }

    std::string read(const std::string &attribute) {
        const auto result = machine().read(attribute);
        EXPECT_GE(result.code, 0) << attribute;
        return result.text;
    }
    long read_code(const std::string &attribute) { return machine().read(attribute).code; }
    // Writes and expects that everything was taken.
    void write(const std::string &attribute, const std::string &text) {
        EXPECT_EQ(machine().write(attribute, text), static_cast<long>(text.size())) << text;
    }

    // New traffic, and what firmware has set up.
    void run(std::vector<soc::source> sources, std::vector<soc::preset> settings = {}) {
        chip().set_scenario({"", std::move(sources), std::move(settings)});
    }

    // What a process gets of its request when a fatal signal reaches it. The signal is repeated,
    // since it may come before the request.
    template <class F>
    auto killed(F request) {
        auto process = std::async(std::launch::async, request);
        while (process.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
            machine().kill_waiters();
        }
        return process.get();
    }

    // "<3>[OVK_BW]..." lines since the last call, with "\c" behind one that was left open.
    std::vector<std::string> log() {
        std::vector<std::string> lines;
        for (const host::log_line &line : machine().take_log()) {
            lines.push_back("<" + std::to_string(line.level) + ">" + line.text +
                            (line.ended ? "" : "\\c"));
        }
        return lines;
    }

    std::vector<std::string> trace() {
        std::vector<std::string> lines;
        for (const host::trace_entry &entry : machine().take_trace()) {
            lines.push_back(entry.text());
        }
        return lines;
    }

    void pin(const std::string &place, std::uint32_t value) {
        chip().pin(simulator_.address_of(place), value);
    }
    void pin(const std::vector<std::pair<const char *, std::uint32_t>> &all) {
        for (const auto &[place, value] : all) {
            pin(place, value);
        }
    }
    std::uint32_t peek(const std::string &place) {
        return static_cast<std::uint32_t>(chip().peek(simulator_.address_of(place), 32));
    }
    void poke(const std::string &place, std::uint32_t value) {
        chip().poke(simulator_.address_of(place), 32, value);
    }

  private:
    sim::simulator simulator_;
};

using lines = std::vector<std::string>;

}  // namespace tests
