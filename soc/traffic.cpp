// SPDX-License-Identifier: GPL-2.0-only
#include "soc/traffic.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string>
#include <string_view>

namespace soc {

namespace {

constexpr std::uint32_t larb_ports = 32;
// Two bits for each input in the path-select register; the lower one picks the path.
constexpr std::uint32_t path_bits_per_input = 2;
constexpr std::uint32_t register_bits = 32;
constexpr std::uint64_t ns_per_us = 1000;

// The EMI ports that the output paths of an SMI common lead to, for a tree that does not say.
std::vector<std::uint32_t> standard_emi_ports(std::uint32_t common) {
    switch (common) {
        case 0:
            return {2, 3};
        case 1:
            return {4};
        case 2:
            return {5};
        default:
            return {6};
    }
}

std::uint32_t number_in(const devicetree::node *node, std::string_view property) {
    return node == nullptr ? 0 : node->u32(property).value_or(0);
}

layout read_layout(const devicetree::flat_tree &tree) {
    const devicetree::node *dram = tree.by_name("dram_config");
    const devicetree::node *emi = tree.by_name("emi_arch");
    return {.smi_clock = number_in(dram, "smi_clock"),
            .emi_clock = number_in(dram, "emi_clock"),
            .emi_channels = number_in(emi, "emi_cnt"),
            .emi_ports = number_in(emi, "emi_port_cnt"),
            .monitors_at_emi = emi != nullptr && emi->has("emi-effi-monitor")};
}

[[noreturn]] void no_such_source(const std::string &place) {
    throw std::runtime_error("the chip has no source " + place);
}

std::string port_name(const char *block, block_port place) {
    return block + std::to_string(place.block) + ":" + std::to_string(place.port);
}

}  // namespace

std::optional<std::uint32_t> block_number(const std::string &node_name, std::string_view prefix) {
    if (!node_name.starts_with(prefix)) {
        return std::nullopt;
    }
    const std::string_view digits = std::string_view(node_name).substr(prefix.size());
    std::uint32_t number = 0;
    const auto [rest, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || std::to_string(number) != digits) {
        return std::nullopt;
    }
    return number;
}

std::uint64_t rate(const flow &load, direction wanted) {
    const std::uint64_t read = wanted == direction::write ? 0 : load.read;
    const std::uint64_t write = wanted == direction::read ? 0 : load.write;
    return read + write;
}

std::uint64_t rate(const streams &passing, direction wanted) {
    std::uint64_t sum = 0;
    for (const stream *each : passing) {
        sum += rate(each->load, wanted);
    }
    return sum;
}

traffic::traffic(const devicetree::flat_tree &tree) : layout_(read_layout(tree)) {
    for (const auto &node : tree.nodes()) {
        if (const auto number = block_number(node->name, "smi_common")) {
            learn_common(*number, *node);
        } else if (const auto larb = block_number(node->name, "larb")) {
            learn_larb(tree, *larb, *node);
        }
    }
}

// Of several nodes with the same name the first one counts, as in every search by name.
void traffic::learn_common(std::uint32_t number, const devicetree::node &node) {
    common learned;
    learned.inputs = number_in(&node, "input-port-nr");
    learned.outputs = number_in(&node, "output-port-nr");
    learned.emi_ports = node.u32_array("quorix,emi-port");
    if (learned.emi_ports.empty()) {
        learned.emi_ports = standard_emi_ports(number);
    }
    commons_.emplace(number, std::move(learned));
}

void traffic::learn_larb(const devicetree::flat_tree &tree, std::uint32_t number,
                         const devicetree::node &node) {
    std::optional<block_port> attachment;
    const auto input = node.u32("quorix,smi-port-id");
    const auto phandle = node.u32("quorix,smi");
    const devicetree::node *above = phandle ? tree.by_phandle(*phandle) : nullptr;
    if (input && above != nullptr) {
        if (const auto common = block_number(above->name, "smi_common")) {
            attachment = block_port{*common, *input};
        }
    }
    larbs_.emplace(number, attachment);
}

stream traffic::route(const source &from) const {
    const block_port place{from.block, from.port};
    stream result;
    result.load = from.traffic;
    switch (from.kind) {
        case source_kind::larb_port: {
            const auto larb = larbs_.find(place.block);
            if (larb == larbs_.end() || place.port >= larb_ports) {
                no_such_source(port_name("larb", place));
            }
            result.larb = place;
            result.common_input = larb->second;
            return result;
        }
        case source_kind::common_input:
            if (place.port >= inputs_of(place.block)) {
                no_such_source(port_name("smi_common", place));
            }
            result.common_input = place;
            return result;
        case source_kind::emi_port:
            if (place.port >= layout_.emi_ports) {
                no_such_source("emi:" + std::to_string(place.port));
            }
            result.emi_port = place.port;
            return result;
    }
    throw std::logic_error("a source of no kind");
}

void traffic::replace(const std::vector<source> &sources) {
    std::vector<stream> routed;
    for (const source &each : sources) {
        stream next = route(each);
        if (rate(next.load, direction::both) > 0) {
            routed.push_back(std::move(next));
        }
    }
    streams_ = std::move(routed);
    add_up_emi_rates();
}

// A driver that polls a channel asks for these rates at every look.
void traffic::add_up_emi_rates() {
    emi_rates_.clear();
    for (const stream &each : streams_) {
        if (const auto port = emi_port_of(each)) {
            emi_rates_[*port] += rate(each.load, direction::both);
        }
    }
}

void traffic::select_paths(std::uint32_t common, std::uint32_t value) {
    const auto found = commons_.find(common);
    if (found != commons_.end()) {
        found->second.paths = value;
        add_up_emi_rates();
    }
}

std::uint32_t traffic::inputs_of(std::uint32_t common) const {
    const auto found = commons_.find(common);
    return found == commons_.end() ? 0 : found->second.inputs;
}

std::uint32_t traffic::outputs_of(std::uint32_t common) const {
    const auto found = commons_.find(common);
    return found == commons_.end() ? 0 : found->second.outputs;
}

std::optional<block_port> traffic::common_output_of(const stream &passing) const {
    if (!passing.common_input) {
        return std::nullopt;
    }
    const auto [number, input] = *passing.common_input;
    const auto found = commons_.find(number);
    if (found == commons_.end()) {
        return std::nullopt;
    }
    const std::uint32_t bit = path_bits_per_input * input;
    const std::uint32_t path = bit < register_bits ? found->second.paths >> bit & 1 : 0;
    const std::uint32_t last = std::max(found->second.outputs, 1u) - 1;
    return block_port{number, std::min(path, last)};
}

std::optional<std::uint32_t> traffic::emi_port_of(const stream &passing) const {
    if (passing.emi_port) {
        return passing.emi_port;
    }
    const auto output = common_output_of(passing);
    if (!output) {
        return std::nullopt;
    }
    const auto &ports = commons_.at(output->block).emi_ports;
    return ports[std::min<std::size_t>(output->port, ports.size() - 1)];
}

template <typename condition>
streams traffic::those(condition wanted) const {
    streams result;
    for (const stream &each : streams_) {
        if (wanted(each)) {
            result.push_back(&each);
        }
    }
    return result;
}

streams traffic::at_larb_port(block_port place) const {
    return those([&](const stream &each) { return each.larb == place; });
}

streams traffic::at_common_input(block_port place) const {
    return those([&](const stream &each) { return each.common_input == place; });
}

streams traffic::at_common_output(block_port place) const {
    return those([&](const stream &each) { return common_output_of(each) == place; });
}

streams traffic::at_emi_port(std::uint32_t port) const {
    return those([&](const stream &each) { return emi_port_of(each) == port; });
}

std::uint64_t traffic::channel_rate(std::uint32_t emi_port, std::uint32_t channel) const {
    const auto found = emi_rates_.find(emi_port);
    if (found == emi_rates_.end() || channel >= layout_.emi_channels) {
        return 0;
    }
    const std::uint64_t whole = found->second;
    const std::uint64_t extra = channel < whole % layout_.emi_channels ? 1 : 0;
    return whole / layout_.emi_channels + extra;
}

std::uint32_t traffic::longest_period(const streams &passing, direction wanted) const {
    std::uint64_t longest_ns = 0;
    for (const stream *each : passing) {
        if (rate(each->load, wanted) > 0) {
            longest_ns = std::max<std::uint64_t>(longest_ns, each->load.period);
        }
    }
    return static_cast<std::uint32_t>(longest_ns * layout_.smi_clock / ns_per_us);
}

}  // namespace soc
