// SPDX-License-Identifier: GPL-2.0-only
// A simulated chip as a source, with the chip itself at hand.
#pragma once

#include <functional>

#include "ovk/source/source.h"
#include "tests/rig.h"

namespace ovk::tests {

class model_source : public source {
  public:
    explicit model_source(const std::string &chip) : chip(chip) { this->chip.loaded(); }
    explicit model_source(devicetree::flat_tree tree) : chip(std::move(tree)) { chip.loaded(); }

    std::string name() const override { return "model"; }
    answer read(std::string_view attribute) override {
        answer came;
        before_read();
        came.start_ns = now();
        const host::read_result result = chip.machine().read(std::string(attribute));
        came.end_ns = now();
        came.text = result.text;
        came.error = errno_of(result.code);
        return came;
    }
    answer write(std::string_view attribute, std::string_view text) override {
        return {"", errno_of(chip.machine().write(std::string(attribute), std::string(text))), 0,
                0};
    }
    std::vector<std::string> log() override {
        std::vector<std::string> lines;
        for (const host::log_line &line : chip.machine().take_log()) {
            lines.push_back(line.text);
        }
        return lines;
    }
    std::int64_t now() override {
        return static_cast<std::int64_t>(chip.machine().now_us()) * 1000;
    }
    std::vector<std::string> attributes() override { return {}; }
    std::string fact(std::string_view) override { return ""; }

    ::tests::rig chip;
    std::function<void()> before_read = [] {};  // may throw

  private:
    static int errno_of(long code) { return code < 0 ? static_cast<int>(-code) : 0; }
};

}  // namespace ovk::tests
