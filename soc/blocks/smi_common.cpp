// SPDX-License-Identifier: GPL-2.0-only
#include "soc/blocks/smi_common.h"

#include <algorithm>

namespace soc {

namespace {

constexpr std::uint32_t common_monitor_run = 0x1a0;
constexpr std::uint32_t common_monitor_clear = 0x1a4;
constexpr std::uint32_t monitor_direction = 0x1ac;
constexpr std::uint32_t monitor_selection = 0x1b0;
constexpr std::uint32_t data_count = 0x1cc;
constexpr std::uint32_t common_longest_period = 0x1dc;
constexpr std::uint32_t path_select = 0x220;

constexpr std::uint32_t common_run_bit = 1;
constexpr std::uint32_t common_clear_bit = 1;
constexpr std::uint32_t write_direction = 1;
constexpr std::uint32_t selection_valid = 1;
constexpr unsigned selection_port_shift = 4;

// The count goes in 16 bytes.
constexpr std::uint64_t common_thousandths_per_count = 16'000;

std::vector<register_row> registers_of_a_common() {
    return {
        {common_monitor_run, word, "monitor_run"},
        {common_monitor_clear, word, "monitor_clear"},
        {monitor_direction, word, "monitor_direction"},
        {monitor_selection, word, "monitor_selection"},
        {data_count, word, "data_count"},
        {common_longest_period, word, "longest_period"},
        {path_select, word, "path_select"},
    };
}

}  // namespace

smi_common::smi_common(const devicetree::node &node, register_file &registers, traffic &passing,
                       std::uint32_t number)
    : block(node, registers, registers_of_a_common()), passing_(passing), number_(number) {}

void smi_common::stored(std::uint32_t offset, unsigned width) {
    running_ = (read(common_monitor_run) & common_run_bit) != 0;
    watched_ = read(monitor_direction) == write_direction ? direction::write : direction::read;
    selection_ = read(monitor_selection);
    note_run(running_, read(monitor_direction), selection_);
    if (reaches(offset, width, common_monitor_clear) &&
        read(common_monitor_clear) == common_clear_bit) {
        clear();
    }
    if (reaches(offset, width, path_select)) {
        passing_.select_paths(number_, read(path_select));
    }
    publish();
}

void smi_common::publish() {
    write(data_count, static_cast<std::uint32_t>(moved_ / common_thousandths_per_count));
    write(common_longest_period, longest_period_);
}

void smi_common::elapse(nanoseconds from, nanoseconds to) {
    if (!running_) {
        return;
    }
    const streams passing = at_selected_port();
    moved_ += rate(passing, watched_) * (to - from);
    longest_period_ = std::max(longest_period_, passing_.longest_period(passing, watched_));
    publish();
}

// The monitor numbers the output ports first, then the input ports.
streams smi_common::at_selected_port() const {
    if ((selection_ & selection_valid) == 0) {
        return {};
    }
    const std::uint32_t port = selection_ >> selection_port_shift;
    const std::uint32_t outputs = passing_.outputs_of(number_);
    if (port < outputs) {
        return passing_.at_common_output({number_, port});
    }
    return passing_.at_common_input({number_, port - outputs});
}

void smi_common::clear() {
    moved_ = 0;
    longest_period_ = 0;
}

}  // namespace soc
