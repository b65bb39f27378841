// SPDX-License-Identifier: GPL-2.0-only
// Changes nodes and properties of a chip's device tree as the input says, loads the module, reads
// all there is and unloads it.
#include <libfdt.h>

#include <optional>

#include "fuzz/rig.h"

namespace fuzz {

using devicetree::node;
using devicetree::property;

static void set(void *tree, int at, const property &entry) {
    fdt_setprop(tree, at, entry.name.c_str(), entry.value.data(),
                static_cast<int>(entry.value.size()));
}

static void add_copy(void *tree, int parent, const node &source) {
    const int copy = fdt_add_subnode(tree, parent, "copy");
    fdt_set_name(tree, copy, source.full_name.c_str());
    for (const property &each : source.properties) {
        set(tree, copy, each);
    }
    for (const node *child : source.children) {
        add_copy(tree, copy, *child);
    }
}

static std::string varied(choices &input, std::string value) {
    using namespace std::string_literals;
    static const std::string texts[] = {"", "okay", "%s%n\0"s, std::string(5000, 'x') + '\0'};
    const int action = input.ConsumeIntegralInRange(0, 7);
    if (action == 0) {
        return pick(input, texts);
    }
    if (action == 1) {
        value.resize(input.ConsumeIntegral<std::uint8_t>(), '\1');
        return value;
    }
    const fdt32_t cell = cpu_to_fdt32(pick_number(input));
    const auto at = 4 * input.ConsumeIntegralInRange<std::size_t>(0, value.size() / 4);
    return value.replace(at, sizeof cell, reinterpret_cast<const char *>(&cell), sizeof cell);
}

// Whatever can't be done to the tree any more is left out.
static void edit(choices &input, void *tree, const devicetree::flat_tree &original) {
    const node &target = *pick(input, original.nodes());
    const node &other = *pick(input, original.nodes());
    const int at = fdt_path_offset(tree, target.path.c_str());
    const int action = input.ConsumeIntegralInRange(0, 9);
    if (action == 0) {
        add_copy(tree, at, other);
    } else if (action == 1) {
        fdt_set_name(tree, at, other.full_name.c_str());
    } else if (action == 2) {
        fdt_del_node(tree, at);
    } else if (action == 3 && !other.properties.empty()) {
        set(tree, at, pick(input, other.properties));
    } else if (!target.properties.empty()) {
        const property &chosen = pick(input, target.properties);
        if (action == 4) {
            fdt_delprop(tree, at, chosen.name.c_str());
        } else {
            set(tree, at, {chosen.name, varied(input, chosen.value)});
        }
    }
}

static devicetree::flat_tree edited(choices &input, const devicetree::flat_tree &original) {
    std::string blob = original.blob();
    blob.resize(std::size_t{1} << 17);
    fdt_open_into(blob.data(), blob.data(), static_cast<int>(blob.size()));
    for (int left = input.ConsumeIntegralInRange(0, 8); left > 0; left--) {
        edit(input, blob.data(), original);
    }
    return devicetree::flat_tree::from_blob(std::move(blob));
}

// What leads a driver to registers: their place, and how others refer to them.
static std::string place_of(const node *block) {
    const bool has_place = block != nullptr && !block->reg.empty();
    const devicetree::range first = has_place ? block->reg[0] : devicetree::range{};
    std::string text = std::to_string(first.start) + "+" + std::to_string(first.size);
    for (const char *name : {"compatible", "phandle", "quorix,smi"}) {
        text += block != nullptr && block->has(name) ? block->find(name)->value : "";
    }
    return text;
}

// Where blocks are not where the chip has them, any driver meets other registers, or none.
static void run_module(host::machine &machine, const devicetree::flat_tree &original) {
    machine.load();
    for (const host::attribute_info &each : machine.attributes()) {
        read(machine, each);
    }
    machine.unload();
    expect_end(machine);
    const auto &all = machine.tree().nodes();
    const bool moved = std::any_of(all.begin(), all.end(), [&](const auto &each) {
        return !each->reg.empty() && place_of(original.by_name(each->name)) != place_of(each.get());
    });
    for (const std::string &oops : machine.take_oopses()) {
        expect(moved && (oops.find(": outside the window") != std::string::npos ||
                         oops.find(": unaligned") != std::string::npos ||
                         oops.find("-bit ") != std::string::npos),
               oops);
    }
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    fuzz::choices input(bytes, size);
    const fuzz::chip &chip = fuzz::pick_chip(input);
    std::optional<sim::simulator> simulator;
    try {
        simulator.emplace(sim::setup{fuzz::edited(input, chip.tree), {}, {}});
        simulator->chip().set_scenario(chip.traffic);
    } catch (const std::runtime_error &) {
        // No chip at all, or one without traffic since it lacks a source of it.
    }
    if (simulator) {
        fuzz::run_module(simulator->machine(), chip.tree);
    }
    return 0;
}
