// SPDX-License-Identifier: GPL-2.0-only
// A chip with any number of modules, each with a larb port of its own, and registers that hold
// still: what a read costs on it is the module's cost and the host kernel's, not the chip model's.
#pragma once

#include "devicetree/flat_tree.h"
#include "platform/host/bus.h"
#include "soc/register_file.h"

namespace bench {

// At most 1024 modules, the three that every list has (GOP, REF_EMI, SUM) included.
devicetree::flat_tree scaled_chip(unsigned modules);

// Every larb counter has counted, every efficiency monitor and EMI run is done.
class still_bus : public host::bus {
  public:
    explicit still_bus(const devicetree::flat_tree &tree);

    std::uint64_t load(std::uint64_t address, unsigned width) override;
    void store(std::uint64_t address, unsigned width, std::uint64_t value) override;
    void advance(std::uint64_t) override {}
    std::optional<std::uint64_t> next_event() const override { return std::nullopt; }
    void power_lost() override {}
    std::vector<std::string> take_complaints() override { return {}; }

  private:
    soc::register_file registers_;
    std::uint64_t emi_control_;
};

}  // namespace bench
