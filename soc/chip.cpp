// SPDX-License-Identifier: GPL-2.0-only
#include "soc/chip.h"

#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "soc/blocks/block.h"
#include "soc/blocks/cpu_priority.h"
#include "soc/blocks/efficiency_monitor.h"
#include "soc/blocks/emi_channel.h"
#include "soc/blocks/emi_dispatcher.h"
#include "soc/blocks/fifo_bank.h"
#include "soc/blocks/larb.h"
#include "soc/blocks/miu2gmc.h"
#include "soc/blocks/smi_common.h"
#include "soc/traffic.h"
#include "soc/units.h"

namespace soc {

struct chip::state {
    state(const devicetree::flat_tree &tree, register_file &file) : registers(file), passing(tree) {
        for (const auto &node : tree.nodes()) {
            if (!node->reg.empty()) {
                windows.emplace(node->name, node->reg[0]);
                add_block(*node);
            }
            if (const auto bank = fifo_bank_window(*node)) {
                windows.emplace(node->name, *bank);
                add_fifo(tree, *node, *bank);
            }
        }
    }

    void add_block(const devicetree::node &node);
    void add_fifo(const devicetree::flat_tree &tree, const devicetree::node &node,
                  const devicetree::range &bank);
    template <typename kind, typename... arguments>
    kind *make(const devicetree::node &node, arguments &&...rest);

    void advance(nanoseconds to);
    void show_at_fifos();
    std::optional<nanoseconds> next_event() const;

    block *at(std::uint64_t address) const;
    void check(const block &accessed, std::uint64_t address, unsigned width, block::operation what);
    std::vector<block *> repeaters_of(const block &accessed, std::uint32_t end) const;
    std::uint64_t address_of(const preset &wanted) const;

    register_file &registers;
    traffic passing;
    std::vector<std::unique_ptr<block>> blocks;
    std::vector<emi_channel *> channels;
    std::vector<miu2gmc *> generators;
    std::vector<fifo_bank *> fifos;
    emi_dispatcher *dispatcher = nullptr;
    nanoseconds now = 0;
    std::uint64_t changes_shown = 0;                   // of the traffic, at the FIFOs
    std::map<std::string, devicetree::range> windows;  // of every node, by name
    std::vector<std::string> complaints;
};

template <typename kind, typename... arguments>
kind *chip::state::make(const devicetree::node &node, arguments &&...rest) {
    auto made = std::make_unique<kind>(node, registers, std::forward<arguments>(rest)...);
    kind *plain = made.get();
    blocks.push_back(std::move(made));
    return plain;
}

void chip::state::add_block(const devicetree::node &node) {
    if (const auto larb_number = block_number(node.name, "larb")) {
        make<larb>(node, passing, *larb_number);
    } else if (const auto common = block_number(node.name, "smi_common")) {
        make<smi_common>(node, passing, *common);
    } else if (const auto channel = block_number(node.name, "emi_cen")) {
        channels.push_back(make<emi_channel>(node, passing, *channel));
    } else if (const auto engine = block_number(node.name, "miu2gmc")) {
        generators.push_back(make<miu2gmc>(node, passing, *engine));
    } else if (node.name == "cpu_pri") {
        make<cpu_priority>(node);
    } else if (node.name == "emi_dispatch0") {
        dispatcher = make<emi_dispatcher>(node);
    } else if (const auto monitor = block_number(node.name, "effi_monitor")) {
        make<efficiency_monitor>(node, passing, *monitor);
    }
}

void chip::state::add_fifo(const devicetree::flat_tree &tree, const devicetree::node &node,
                           const devicetree::range &bank) {
    const devicetree::node *module =
        find_module(tree, node.string("module-name").value_or(std::string()));
    auto made =
        std::make_unique<fifo_bank>(node, bank, registers, passing, ports_of_module(module));
    fifos.push_back(made.get());
    blocks.push_back(std::move(made));
}

// The generators come last: a pass that ends now has been traffic until now.
void chip::state::advance(nanoseconds to) {
    now = to;
    for (const auto &each : blocks) {
        if (std::find(generators.begin(), generators.end(), each.get()) == generators.end()) {
            each->advance(to);
        }
    }
    for (miu2gmc *each : generators) {
        each->advance(to);
    }
    show_at_fifos();
}

// Whoever looks at a FIFO's bank through shared memory must find it up to date.
void chip::state::show_at_fifos() {
    if (std::exchange(changes_shown, passing.changes()) != passing.changes()) {
        for (fifo_bank *each : fifos) {
            each->publish();
        }
    }
}

std::optional<nanoseconds> chip::state::next_event() const {
    std::optional<nanoseconds> next;
    for (const auto &each : blocks) {
        const auto event = each->next_event();
        if (event && (!next || *event < *next)) {
            next = event;
        }
    }
    return next;
}

block *chip::state::at(std::uint64_t address) const {
    const auto found = std::find_if(blocks.begin(), blocks.end(),
                                    [&](const auto &each) { return each->covers(address); });
    return found == blocks.end() ? nullptr : found->get();
}

void chip::state::check(const block &accessed, std::uint64_t address, unsigned width,
                        block::operation what) {
    const auto offset = static_cast<std::uint32_t>(address - accessed.window().start);
    if (auto objection = accessed.objection(offset, width, what)) {
        complaints.push_back(std::move(*objection));
    }
}

// The channels that a store to this block reaches as well, unless it ends beyond their window.
std::vector<block *> chip::state::repeaters_of(const block &accessed, std::uint32_t end) const {
    std::vector<block *> result;
    const bool to_first = std::any_of(channels.begin(), channels.end(), [&](const auto *each) {
        return each == &accessed && each->number() == 0;
    });
    if (!to_first || dispatcher == nullptr) {
        return result;
    }
    for (emi_channel *each : channels) {
        if (dispatcher->repeats_on(each->number()) && end <= each->window().size) {
            result.push_back(each);
        }
    }
    return result;
}

std::uint64_t chip::state::address_of(const preset &wanted) const {
    const std::string text = wanted.node + "+" + std::to_string(wanted.offset);
    const auto window = windows.find(wanted.node);
    if (window == windows.end()) {
        throw std::runtime_error("the chip has no registers of " + wanted.node);
    }
    const std::uint64_t address = window->second.start + wanted.offset;
    const std::uint64_t end = std::uint64_t{wanted.offset} + sizeof(std::uint32_t);
    if (end > window->second.size || !register_file::contains(address, sizeof(std::uint32_t))) {
        throw std::runtime_error("the chip has no register " + text);
    }
    if (const block *owner = at(address)) {
        if (const auto objection = owner->objection(wanted.offset, 32, block::operation::store)) {
            throw std::runtime_error("the chip has no register to preset: " + *objection);
        }
    }
    return address;
}

chip::chip(const devicetree::flat_tree &tree, register_file &registers)
    : state_(std::make_unique<state>(tree, registers)) {}

chip::~chip() = default;

void chip::set_scenario(const scenario &traffic) {
    std::vector<std::pair<std::uint64_t, std::uint32_t>> stores;
    for (const preset &each : traffic.presets) {
        stores.emplace_back(state_->address_of(each), each.value);
    }
    state_->passing.replace(traffic.sources);
    for (const auto &[address, value] : stores) {
        state_->registers.set32(address, value);
        if (block *owner = state_->at(address)) {
            owner->stored(static_cast<std::uint32_t>(address - owner->window().start), 32);
        }
    }
    state_->show_at_fifos();
}

std::optional<run> chip::stored(std::uint64_t address, unsigned width) {
    block *accessed = state_->at(address);
    if (accessed == nullptr) {
        return std::nullopt;
    }
    state_->check(*accessed, address, width, block::operation::store);
    const auto offset = static_cast<std::uint32_t>(address - accessed->window().start);
    const std::uint64_t value = state_->registers.get(address, width);
    accessed->stored(offset, width);
    for (block *each : state_->repeaters_of(*accessed, offset + width / bits_per_byte)) {
        state_->registers.set(each->window().start + offset, width, value);
        each->stored(offset, width);
    }
    state_->show_at_fifos();
    return accessed->take_ended_run();
}

void chip::loaded(std::uint64_t address, unsigned width) {
    if (block *accessed = state_->at(address)) {
        state_->check(*accessed, address, width, block::operation::load);
        accessed->publish();
    }
}

// From event to event, since the end of a pass changes what the other blocks have to count.
void chip::advance(std::uint64_t now_ns) {
    if (now_ns <= state_->now) {
        return;
    }
    auto event = state_->next_event();
    while (event && *event > state_->now && *event < now_ns) {
        state_->advance(*event);
        event = state_->next_event();
    }
    state_->advance(now_ns);
}

std::optional<std::uint64_t> chip::next_event() const {
    return state_->next_event();
}

bool chip::hang(const std::string &node) {
    for (const auto &each : state_->blocks) {
        if (each->name() == node) {
            return each->hang();
        }
    }
    return false;
}

void chip::power_lost() {
    for (const auto &each : state_->blocks) {
        each->power_lost();
    }
}

std::vector<std::string> chip::take_complaints() {
    return std::exchange(state_->complaints, {});
}

}  // namespace soc
