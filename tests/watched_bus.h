// SPDX-License-Identifier: GPL-2.0-only
// A chip of which a test watches one register: something happens right before each access to it.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

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

    sim::chip_bus &chip() { return *this; }
    std::function<void()> on_access = [] {};

  private:
    void look_at(std::uint64_t address) {
        if (address == address_) {
            on_access();
        }
    }

    std::uint64_t address_;
};

// Holds a processor up until it is opened.
class gate {
  public:
    void stand() {
        std::unique_lock lock(guard_);
        reached_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
    }
    void wait_until_reached() {
        std::unique_lock lock(guard_);
        changed_.wait(lock, [this] { return reached_; });
    }
    void open() {
        const std::lock_guard lock(guard_);
        open_ = true;
        changed_.notify_all();
    }

  private:
    std::mutex guard_;
    std::condition_variable changed_;
    bool reached_ = false;
    bool open_ = false;
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
