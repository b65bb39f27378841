// SPDX-License-Identifier: GPL-2.0-only
// The chip: its register file and the blocks that react on it.
//
// A block reacts to a store, to a load and to the passing of time by changing the register file,
// and in no other way. So the same blocks run under calls (the host kernel performs an access and
// tells the chip) and over shared memory (a machine emulator has performed an access in a file that
// the chip maps as well, and tells the chip right after it).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/register_file.h"
#include "soc/run.h"
#include "soc/scenario.h"

namespace soc {

class chip {
  public:
    // Power-on at time 0. The register file must outlive the chip.
    chip(const devicetree::flat_tree &tree, register_file &registers);
    ~chip();

    // New traffic from now on; the scenario's register presets are stored at once. Throws
    // std::runtime_error when a source of the scenario does not exist on this chip.
    void set_scenario(const scenario &traffic);

    // The processor has stored at, or loaded from, this address (width in bits); the register file
    // already holds a stored value. A store may end a bandwidth monitor's run, which it returns.
    std::optional<run> stored(std::uint64_t address, unsigned width);
    void loaded(std::uint64_t address, unsigned width);

    // It is now this time, in nanoseconds since power-on.
    void advance(std::uint64_t now_ns);

    // When a block next changes by itself, in nanoseconds since power-on.
    std::optional<std::uint64_t> next_event() const;

    // The block of that node never reports done from now on. False: no such block.
    bool hang(const std::string &node);

    // System sleep: the efficiency monitors lose their configuration and results.
    void power_lost();

    // Accesses that the chip does not have, since the last call: unknown offset or wrong width in
    // a block that it models. One line each.
    std::vector<std::string> take_complaints();

  private:
    struct state;
    std::unique_ptr<state> state_;
};

}  // namespace soc
