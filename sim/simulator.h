// SPDX-License-Identifier: GPL-2.0-only
// A chip with the host kernel on it, ready for the module.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/host/machine.h"
#include "sim/chip_bus.h"

namespace sim {

// The chips that come with the project, by name: those of which there is a device tree.
std::vector<std::string> chip_names();

// The scenarios that come with a chip; none for one that is not the project's.
std::vector<std::string> scenario_names(const std::string &soc);

// "a, b or c".
std::string listed(const std::vector<std::string> &names);

// The device tree of a chip that comes with the project. Throws
// std::runtime_error for another name.
devicetree::flat_tree chip_tree(const std::string &soc);

// A scenario by name, for that chip, or from a file. Throws std::runtime_error.
soc::scenario find_scenario(const std::string &soc, const std::string &name_or_file);

// Path of the module's shared object.
std::string module_image();

struct setup {
    devicetree::flat_tree tree;
    std::string soc;                       // names the scenarios; empty for a foreign tree
    std::vector<std::uint32_t> dram_freq;  // overrides the tree's
    bool realtime = false;
};

class simulator {
  public:
    explicit simulator(setup s);

    host::machine &machine() { return machine_; }
    chip_bus &chip() { return bus_; }
    const std::string &soc() const { return setup_.soc; }

    void set_scenario(const std::string &name_or_file);
    const std::string &scenario() const { return scenario_; }  // as it was named; empty: none

    // The address that "NODE+0xOFF" or "0xADDRESS" names. Throws std::runtime_error.
    std::uint64_t address_of(const std::string &place) const;

  private:
    setup setup_;
    std::string scenario_;
    chip_bus bus_;
    host::machine machine_;
};

// A number as C writes it (decimal, 0x hexadecimal). Throws std::runtime_error that says what was
// expected.
std::uint64_t parse_number(const std::string &text, std::uint64_t max);

}  // namespace sim
