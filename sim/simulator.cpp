// SPDX-License-Identifier: GPL-2.0-only
#include "sim/simulator.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <stdexcept>

namespace sim {

namespace {

const std::filesystem::path data_directory = OVK_DATA_DIR;

bool is_file_name(const std::string &text) {
    return text.find('/') != std::string::npos || text.ends_with(".toml");
}

}  // namespace

static std::vector<std::string> stems_in(const std::filesystem::path &folder) {
    std::vector<std::string> stems;

    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        stems.push_back(entry.path().stem());
    }
    std::sort(stems.begin(), stems.end());
    return stems;
}

std::vector<std::string> chip_names() {
    return stems_in(data_directory / "chips");
}

std::vector<std::string> scenario_names(const std::string &soc) {
    return soc.empty() ? std::vector<std::string>{} : stems_in(data_directory / "scenarios" / soc);
}

std::string listed(const std::vector<std::string> &names) {
    std::string text;

    for (std::size_t i = 0; i < names.size(); ++i) {
        text += i == 0 ? "" : i + 1 < names.size() ? ", " : " or ";
        text += names[i];
    }
    return text;
}

devicetree::flat_tree chip_tree(const std::string &soc) {
    const std::filesystem::path file = data_directory / "chips" / (soc + ".dts");

    if (!std::filesystem::exists(file)) {
        throw std::runtime_error(listed(chip_names()) + " expected, not '" + soc + "'");
    }
    return devicetree::flat_tree::from_file(file);
}

soc::scenario find_scenario(const std::string &soc, const std::string &name_or_file) {
    if (std::filesystem::is_directory(name_or_file)) {
        throw std::runtime_error("a file expected, not the directory '" + name_or_file + "'");
    }
    if (is_file_name(name_or_file)) {
        return soc::scenario::from_file(name_or_file);
    }
    const std::filesystem::path file =
        data_directory / "scenarios" / soc / (name_or_file + ".toml");
    if (soc.empty() || !std::filesystem::exists(file)) {
        throw std::runtime_error(
            "idle, playback, graphics, overload (on a chip of the project) or a file expected, "
            "not '" +
            name_or_file + "'");
    }
    return soc::scenario::from_file(file);
}

std::string module_image() {
    return OVK_MODULE_IMAGE;
}

simulator::simulator(setup s)
    : setup_(std::move(s)),
      bus_(setup_.tree),
      machine_(setup_.tree, bus_,
               {.module_image = module_image(),
                .dram_freq = setup_.dram_freq,
                .realtime = setup_.realtime}) {}

void simulator::set_scenario(const std::string &name_or_file) {
    bus_.set_scenario(find_scenario(setup_.soc, name_or_file));
    scenario_ = name_or_file;
}

std::uint64_t simulator::address_of(const std::string &place) const {
    const std::size_t plus = place.find('+');

    if (plus == std::string::npos) {
        if (!place.starts_with("0x")) {
            throw std::runtime_error("NODE+0xOFFSET or 0xADDRESS expected, not '" + place + "'");
        }
        return parse_number(place, UINT64_MAX);
    }
    const std::string name = place.substr(0, plus);
    const devicetree::node *node = setup_.tree.by_name(name);
    if (!node || node->reg.empty()) {
        throw std::runtime_error("a node with registers expected, not '" + name + "'");
    }
    return node->reg.front().start +
           parse_number(place.substr(plus + 1), node->reg.front().size - 1);
}

std::uint64_t parse_number(const std::string &text, std::uint64_t max) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const char *first = text.data() + (hexadecimal ? 2 : 0);
    const char *last = text.data() + text.size();
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(first, last, value, hexadecimal ? 16 : 10);

    if (error != std::errc() || end != last || value > max) {
        throw std::runtime_error("a number up to " + std::to_string(max) + " expected, not '" +
                                 text + "'");
    }
    return value;
}

}  // namespace sim
