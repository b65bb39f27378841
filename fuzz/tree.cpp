// SPDX-License-Identifier: GPL-2.0-only
// Changes nodes and properties of a chip's device tree as the input says, loads the module, reads
// all there is and unloads it.
#include <libfdt.h>

#include <optional>

#include "fuzz/rig.h"

namespace fuzz {

using nodes = std::vector<std::unique_ptr<devicetree::node>>;

static int pick_node(choices &input, const void *tree) {
    int node = 0;
    for (int steps = input.ConsumeIntegral<std::uint8_t>(); steps > 0; steps--) {
        node = std::max(0, fdt_next_node(tree, node, nullptr));
    }
    return node;
}

static void set(void *tree, int node, const devicetree::property &entry) {
    fdt_setprop(tree, node, entry.name.c_str(), entry.value.data(),
                static_cast<int>(entry.value.size()));
}

static void add_copy(void *tree, int parent, const devicetree::node &source) {
    const int copy = fdt_add_subnode(tree, parent, "copy");
    if (copy < 0) {
        return;
    }
    fdt_set_name(tree, copy, source.full_name.c_str());
    for (const devicetree::property &each : source.properties) {
        set(tree, copy, each);
    }
    for (const devicetree::node *child : source.children) {
        add_copy(tree, copy, *child);
    }
}

// False: there is to be none.
static bool edit_value(choices &input, std::string &value) {
    using namespace std::string_literals;
    static const std::string texts[] = {"", "okay", "%s%n\0"s, std::string(5000, 'x') + '\0'};
    const int action = input.ConsumeIntegralInRange(0, 7);
    if (action == 0) {
        value = pick(input, texts);
    } else if (action == 1) {
        value.resize(input.ConsumeIntegral<std::uint8_t>(), '\1');
    } else {
        const fdt32_t cell = cpu_to_fdt32(pick_number(input));
        const auto at = 4 * input.ConsumeIntegralInRange<std::size_t>(0, value.size() / 4);
        value.replace(at, sizeof cell, reinterpret_cast<const char *>(&cell), sizeof cell);
    }
    return action != 7;
}

static void edit_property(choices &input, void *tree, int node) {
    int offset = fdt_first_property_offset(tree, node);
    for (int steps = input.ConsumeIntegralInRange(0, 7); steps > 0; steps--) {
        offset = std::max(offset, fdt_next_property_offset(tree, offset));
    }
    const char *name = nullptr;
    int size = 0;
    if (const void *value = fdt_getprop_by_offset(tree, offset, &name, &size)) {
        devicetree::property entry{name, {static_cast<const char *>(value), std::size_t(size)}};
        fdt_delprop(tree, node, entry.name.c_str());
        if (edit_value(input, entry.value)) {
            set(tree, node, entry);
        }
    }
}

static void edit(choices &input, void *tree, const nodes &original) {
    const int node = pick_node(input, tree);
    const devicetree::node &other = *pick(input, original);
    const int action = input.ConsumeIntegralInRange(0, 9);
    if (action == 0) {
        add_copy(tree, node, other);
    } else if (action == 1) {
        fdt_set_name(tree, node, other.full_name.c_str());
    } else if (action == 2) {
        fdt_del_node(tree, node);
    } else if (action == 3 && !other.properties.empty()) {
        set(tree, node, pick(input, other.properties));
    } else {
        edit_property(input, tree, node);
    }
}

static devicetree::flat_tree edited(choices &input, const devicetree::flat_tree &original) {
    std::string blob = original.blob();
    blob.resize(std::size_t{1} << 17);  // what does not fit any more is left out
    fdt_open_into(blob.data(), blob.data(), static_cast<int>(blob.size()));
    for (int left = input.ConsumeIntegralInRange(0, 8); left > 0; left--) {
        edit(input, blob.data(), original.nodes());
    }
    return devicetree::flat_tree::from_blob(std::move(blob));
}

// What leads a driver to registers: their place, and how others refer to them.
static std::string place_of(const devicetree::node &block) {
    const devicetree::range first = block.reg.empty() ? devicetree::range{} : block.reg[0];
    std::string text = std::to_string(first.start) + "+" + std::to_string(first.size);
    for (const char *name : {"compatible", "phandle", "quorix,smi"}) {
        text += block.has(name) ? block.find(name)->value : "";
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
    const nodes &all = machine.tree().nodes();
    const bool moved = std::any_of(all.begin(), all.end(), [&](const auto &each) {
        const devicetree::node *before = original.by_name(each->name);
        return !each->reg.empty() && (!before || place_of(*before) != place_of(*each));
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
