// SPDX-License-Identifier: GPL-2.0-only
// A chip of which a test watches one register: something happens right before each access to it.
#pragma once

#include <functional>

#include "tests/rig.h"

namespace tests {

class watched_bus : public sim::chip_bus {
  public:
    watched_bus(const devicetree::flat_tree &tree, std::uint64_t address)
        : chip_bus(tree), address_(address) {}

    std::uint64_t load(std::uint64_t address, unsigned width) override {
        look_at(address);
        return chip_bus::load(address, width);
    }
    void store(std::uint64_t address, unsigned width, std::uint64_t value) override {
        look_at(address);
        chip_bus::store(address, width, value);
    }

    std::function<void()> on_access = [] {};

  private:
    void look_at(std::uint64_t address) {
        if (address == address_) {
            on_access();
        }
    }

    std::uint64_t address_;
};

// A loaded module on such a chip.
struct watched_machine {
    watched_machine(devicetree::flat_tree flat, const std::string &node, std::uint32_t offset)
        : tree(std::move(flat)),
          register_address(tree.by_name(node)->reg.front().start + offset),
          bus(tree, register_address),
          machine(tree, bus, {.module_image = sim::module_image(), .dram_freq = {}}) {
        EXPECT_EQ(machine.load(), 0);
        machine.take_log();
    }
    ~watched_machine() {
        EXPECT_EQ(machine.unload(), 0);
        EXPECT_EQ(machine.take_oopses(), lines{});
    }

    devicetree::flat_tree tree;
    std::uint64_t register_address;
    watched_bus bus;
    host::machine machine;
};

}  // namespace tests
