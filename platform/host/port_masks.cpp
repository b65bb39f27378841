// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/port_masks.h"

#include <cerrno>
#include <cstdint>
#include <string>

namespace host {

static constexpr std::uint64_t mask_register = 0x40;  // one bit per port
static constexpr unsigned mask_bits = 32;

int port_masks::request(int id, int port, bool enable) {
    const std::scoped_lock lock(guard_);
    const bool refused = faults_.strikes(fault_kind::mask, {});
    if (refused || port < 0 || port >= static_cast<int>(mask_bits)) {
        return -EINVAL;
    }
    const std::string name = "miu2gmc" + std::to_string(id);
    const devicetree::node *block = tree_.by_name(name);
    if (!block || block->reg.empty()) {
        return -ENODEV;
    }
    const std::uint64_t bit = std::uint64_t{1} << port;
    hardware_.update({name, mask_register, block->reg[0].start + mask_register, mask_bits}, bit,
                     enable ? bit : 0);
    return 0;
}

}  // namespace host
