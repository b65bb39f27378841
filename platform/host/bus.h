// SPDX-License-Identifier: GPL-2.0-only
// What the host kernel asks of the hardware beneath it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

class bus {
  public:
    virtual ~bus() = default;

    // Processor accesses. The width is 16, 32 or 64 bits; the address is aligned to it.
    virtual std::uint64_t load(std::uint64_t address, unsigned width) = 0;
    virtual void store(std::uint64_t address, unsigned width, std::uint64_t value) = 0;

    // Time now, in microseconds since power-on; never goes backwards.
    virtual void advance(std::uint64_t now_us) = 0;

    // When the hardware next changes by itself, if it is going to.
    virtual std::optional<std::uint64_t> next_event() const = 0;

    // System sleep takes the power from the monitors; what they held is gone.
    virtual void power_lost() = 0;

    // Accesses since the last call that the hardware does not have: an unknown register or a wrong
    // width in a block that it knows.
    virtual std::vector<std::string> take_complaints() = 0;
};

}  // namespace host
