// SPDX-License-Identifier: GPL-2.0-only
#include "soc/traffic.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string>
#include <string_view>

#include "soc/units.h"

namespace soc {

namespace {

constexpr std::uint32_t larb_ports = 32;
// Two bits for each input in the path-select register; the lower one picks the path.
constexpr std::uint32_t path_bits_per_input = 2;
constexpr std::uint32_t register_bits = 32;
constexpr std::uint32_t every_request = 100;  // percent
constexpr const char *generator_module = "BIST";

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

// The channels that are there, by number from 0 on; how many software counts on is its own matter.
std::uint32_t channels_in(const devicetree::flat_tree &tree) {
    std::uint32_t channels = 0;
    while (tree.by_name("emi_cen" + std::to_string(channels)) != nullptr) {
        ++channels;
    }
    return channels;
}

std::uint64_t channel_peak(const devicetree::node *dram, std::uint32_t channels) {
    const std::uint64_t bytes = number_in(dram, "bus_width") / bits_per_byte;
    return channels == 0 ? 0 : bytes * number_in(dram, "dram_clock") / channels;
}

layout read_layout(const devicetree::flat_tree &tree) {
    const devicetree::node *dram = tree.by_name("dram_config");
    const devicetree::node *emi = tree.by_name("emi_arch");
    const devicetree::node *bist = find_module(tree, generator_module);
    const std::uint32_t channels = channels_in(tree);
    return {.smi_clock = number_in(dram, "smi_clock"),
            .emi_clock = number_in(dram, "emi_clock"),
            .emi_channels = channels,
            .emi_ports = number_in(emi, "emi_port_cnt"),
            .channel_peak = channel_peak(dram, channels),
            .monitors_at_emi = emi != nullptr && emi->has("emi-effi-monitor"),
            .generator_loop_gen1 = bist != nullptr && bist->has("loop-mode-gen1")};
}

[[noreturn]] void no_such_source(const std::string &place) {
    throw std::runtime_error("the chip has no source " + place);
}

std::string port_name(const char *block, block_port place) {
    return block + std::to_string(place.block) + ":" + std::to_string(place.port);
}

rates sum_of(const std::vector<stream *> &passing) {
    rates sum;
    for (const stream *each : passing) {
        sum.read += each->load.read;
        sum.write += each->load.write;
    }
    return sum;
}

// Hands out `left` in proportion to one direction's rates, rounded so that the sum is exact.
void hand_out(const std::vector<stream *> &passing, std::uint32_t flow::*member,
              std::uint64_t whole, std::uint64_t left) {
    std::uint64_t seen = 0;
    std::uint64_t given = 0;
    for (stream *each : passing) {
        seen += each->load.*member;
        const std::uint64_t until_here = whole == 0 ? 0 : seen * left / whole;
        each->load.*member = static_cast<std::uint32_t>(until_here - given);
        given = until_here;
    }
}

// Slows the streams down to `left` in all, which is not more than they move.
void squeeze(const std::vector<stream *> &passing, rates left) {
    const rates whole = sum_of(passing);
    hand_out(passing, &flow::read, whole.read, left.read);
    hand_out(passing, &flow::write, whole.write, left.write);
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
    learn_generators(find_module(tree, generator_module));
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

// An engine's number is that of its larb; the first port of its group is the one it uses.
void traffic::learn_generators(const devicetree::node *module) {
    for (const block_port &place : ports_of_module(module).larb) {
        if (larbs_.contains(place.block) && place.port < larb_ports) {
            generator_ports_.emplace(place.block, place);
        }
    }
}

stream traffic::route(const source &from) const {
    const block_port place{from.block, from.port};
    stream result;
    result.load = from.traffic;
    result.wanted = rate(from.traffic, direction::both);
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
    routed.reserve(sources.size());
    for (const source &each : sources) {
        routed.push_back(route(each));
    }
    sources_ = std::move(routed);
    settle();
}

void traffic::select_paths(std::uint32_t common, std::uint32_t value) {
    const auto found = commons_.find(common);
    if (found != commons_.end()) {
        found->second.paths = value;
        settle();
    }
}

void traffic::limit_larb_port(block_port place, std::uint32_t outstanding) {
    if (outstanding == 0) {
        larb_limits_.erase(place);
    } else {
        larb_limits_[place] = outstanding;
    }
    settle();
}

void traffic::force_priorities(std::uint32_t larb, std::uint32_t ultra, std::uint32_t preultra) {
    forced_[larb] = {ultra, preultra};
    settle();
}

void traffic::mask_ports(std::uint32_t larb, std::uint32_t ports) {
    masks_[larb] = ports;
    settle();
}

void traffic::limit_emi_ports(std::uint32_t channel, std::vector<emi_port_limits> limits) {
    emi_limits_[channel] = std::move(limits);
    settle();
}

void traffic::run_generator(std::uint32_t number, const flow &load) {
    stream running;
    running.load = load;
    running.wanted = rate(load, direction::both);
    running.generator = number;
    const auto place = generator_ports_.find(number);
    if (place != generator_ports_.end()) {
        running.larb = place->second;
        running.common_input = larbs_.at(place->second.block);
    }
    generators_[number] = running;
    settle();
}

void traffic::stop_generator(std::uint32_t number) {
    if (generators_.erase(number) > 0) {
        settle();
    }
}

std::uint64_t traffic::rate_of_generator(std::uint32_t number) const {
    return rate(those([&](const stream &each) { return each.generator == number; }),
                direction::both);
}

std::uint64_t traffic::held_back(const module_ports &ports) const {
    const auto among = [](const std::vector<block_port> &all, const block_port &place) {
        return std::find(all.begin(), all.end(), place) != all.end();
    };
    std::uint64_t missing = 0;
    for (const stream &each : streams_) {
        const bool counts =
            each.larb ? among(ports.larb, *each.larb)
                      : each.common_input && among(ports.common_input, *each.common_input);
        missing += counts ? each.wanted - rate(each.load, direction::both) : 0;
    }
    return missing;
}

void traffic::settle() {
    streams_ = sources_;
    for (const auto &[number, running] : generators_) {
        streams_.push_back(running);
    }
    for (stream &each : streams_) {
        apply_mask(each);
        apply_forced_priority(each);
    }
    apply_larb_limits();
    apply_emi_limits();
    ++changes_;
}

void traffic::apply_mask(stream &passing) const {
    const auto mask = passing.larb ? masks_.find(passing.larb->block) : masks_.end();
    if (mask != masks_.end() && (mask->second >> passing.larb->port & 1) != 0) {
        passing.load.read = 0;
        passing.load.write = 0;
    }
}

void traffic::apply_forced_priority(stream &passing) const {
    const auto force = passing.larb ? forced_.find(passing.larb->block) : forced_.end();
    if (force == forced_.end()) {
        return;
    }
    const std::uint32_t port = passing.larb->port;
    if ((force->second.ultra >> port & 1) != 0) {
        passing.load.ultra = every_request;
        passing.load.preultra = 0;
    } else if ((force->second.preultra >> port & 1) != 0) {
        passing.load.ultra = 0;
        passing.load.preultra = every_request;
    }
}

void traffic::apply_larb_limits() {
    for (const auto &[place, transactions] : larb_limits_) {
        group at_port;
        for (stream &each : streams_) {
            if (each.larb == place) {
                at_port.push_back(&each);
            }
        }
        squeeze(at_port, within(sum_of(at_port), transactions * rate_of_a_transaction));
    }
}

// A driver that polls a channel asks for these rates at every look.
void traffic::apply_emi_limits() {
    std::map<std::uint32_t, group> at_ports;
    for (stream &each : streams_) {
        if (const auto port = emi_port_of(each)) {
            at_ports[*port].push_back(&each);
        }
    }
    emi_rates_.clear();
    for (const auto &[port, passing] : at_ports) {
        const rates whole = sum_of(passing);
        const rates left = let_through(whole, port);
        if (layout_.emi_channels > 0) {
            squeeze(passing, left);
        }
    }
}

// Also notes what each channel carries of it.
rates traffic::let_through(rates whole, std::uint32_t emi_port) {
    rates left;
    for (std::uint32_t channel = 0; channel < layout_.emi_channels; ++channel) {
        rates share = share_of_channel(whole, layout_.emi_channels, channel);
        const auto limits = emi_limits_.find(channel);
        if (limits != emi_limits_.end() && emi_port < limits->second.size()) {
            share = within(share, limits->second[emi_port], layout_.channel_peak);
        }
        emi_rates_[emi_port].push_back(share.all());
        left.read += share.read;
        left.write += share.write;
    }
    return left;
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
        if (rate(each.load, direction::both) > 0 && wanted(each)) {
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
    const bool known = found != emi_rates_.end() && channel < found->second.size();
    return known ? found->second[channel] : 0;
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
