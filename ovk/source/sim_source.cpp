// SPDX-License-Identifier: GPL-2.0-only
// The simulator in the same process, on its own virtual time.
#include <filesystem>
#include <stdexcept>

#include "ovk/base/failure.h"
#include "ovk/source/openers.h"
#include "sim/simulator.h"

namespace ovk {

namespace {

constexpr std::int64_t ns_per_us = 1000;

// CHIP[,SCENARIO], each a name or a file.
struct choice {
    std::string chip;
    std::string scenario;

    explicit choice(const std::string &text)
        : chip(text.substr(0, text.find(','))),
          scenario(chip.size() < text.size() ? text.substr(chip.size() + 1) : "") {
        if (scenario.empty() && !is_file()) {
            scenario = "playback";
        }
    }

    bool is_file() const {
        return chip.find('/') != std::string::npos || chip.ends_with(".dts") ||
               chip.ends_with(".dtb");
    }

    sim::setup setup() const {
        return {.tree = is_file() ? devicetree::flat_tree::from_file(chip) : sim::chip_tree(chip),
                .soc = is_file() ? "" : chip,
                .dram_freq = {}};
    }
};

class sim_source : public source {
  public:
    sim_source(std::string name, const choice &wanted)
        : name_(std::move(name)), simulator_(wanted.setup()) {
        if (!wanted.scenario.empty()) {
            simulator_.set_scenario(wanted.scenario);
        }
        const int error = machine().load();
        if (error != 0) {
            throw std::runtime_error("the module does not load: " + last_message());
        }
        machine().take_log();
    }

    std::string name() const override { return name_; }

    answer read(std::string_view attribute) override {
        answer result;
        result.start_ns = now();
        host::read_result came = machine().read(attribute);
        result.end_ns = now();
        result.error = errno_of(came.code);
        result.text = std::move(came.text);
        return result;
    }

    answer write(std::string_view attribute, std::string_view text) override {
        answer result;
        result.start_ns = now();
        result.error = errno_of(machine().write(attribute, text));
        result.end_ns = now();
        return result;
    }

    std::vector<std::string> log() override {
        std::vector<std::string> lines;
        for (host::log_line &line : machine().take_log()) {
            lines.push_back(std::move(line.text));
        }
        return lines;
    }

    std::int64_t now() override {
        return static_cast<std::int64_t>(machine().now_us()) * ns_per_us;
    }

    void wait_until(std::int64_t time_ns) override {
        const std::int64_t left = time_ns - now();
        if (left > 0) {
            machine().elapse(static_cast<std::uint64_t>((left + ns_per_us - 1) / ns_per_us));
        }
    }

    std::vector<std::string> attributes() override {
        std::vector<std::string> names;
        for (host::attribute_info &each : machine().attributes()) {
            names.push_back(std::move(each.name));
        }
        return names;
    }

    std::string fact(std::string_view what) override {
        const auto &root = *machine().tree().nodes().front();
        return what == "chip_compatible" ? root.string("compatible").value_or("") : "";
    }

  private:
    host::machine &machine() { return simulator_.machine(); }

    static int errno_of(long code) { return code < 0 ? static_cast<int>(-code) : 0; }

    std::string last_message() {
        const auto lines = log();
        return lines.empty() ? "its log is empty" : lines.back();
    }

    std::string name_;
    sim::simulator simulator_;
};

}  // namespace

std::unique_ptr<source> open_sim(const std::string &name, const std::string &rest) {
    try {
        return std::make_unique<sim_source>(name, choice(rest));
    } catch (const std::runtime_error &error) {
        throw failure(exit_status::unreachable, name + ": " + error.what());
    }
}

}  // namespace ovk
