// SPDX-License-Identifier: GPL-2.0-only
// Puts the chip model under the host kernel, with a bench of instruments on it.
#pragma once

#include <map>
#include <mutex>

#include "platform/host/bus.h"
#include "soc/chip.h"

namespace sim {

class chip_bus : public host::bus {
  public:
    explicit chip_bus(const devicetree::flat_tree &tree);

    std::uint64_t load(std::uint64_t address, unsigned width) override;
    void store(std::uint64_t address, unsigned width, std::uint64_t value) override;
    void advance(std::uint64_t now_us) override;
    std::optional<std::uint64_t> next_event() const override;
    void power_lost() override;
    std::vector<std::string> take_complaints() override;

    // Instruments. They throw std::runtime_error for an address that the register file does not
    // have or that is not aligned to the width.
    std::uint64_t peek(std::uint64_t address, unsigned width) const;  // the chip does not notice
    void poke(std::uint64_t address, unsigned width, std::uint64_t value);
    void pin(std::uint64_t address, std::uint32_t value);  // what loads see, whatever is there
    void unpin(std::uint64_t address);
    void unpin_all();
    bool hang(const std::string &node);
    void set_scenario(const soc::scenario &traffic);

  private:
    std::uint64_t with_pins(std::uint64_t address, unsigned width, std::uint64_t value) const;

    mutable std::mutex lock_;
    soc::register_file registers_;
    soc::chip chip_;
    std::map<std::uint64_t, std::uint32_t> pins_;
};

}  // namespace sim
