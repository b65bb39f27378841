// SPDX-License-Identifier: GPL-2.0-only
#include "tests/rig.h"

namespace tests {

static bool is_port_setting(const soc::preset &preset) {
    const bool arbitration = preset.offset >= 0xd0 && preset.offset < 0x200;

    return preset.node.starts_with("larb") || (preset.node.starts_with("emi_cen") && arbitration);
}

void rig::set_scenario(const soc::scenario &traffic) {
    soc::scenario moving = traffic;

    chip().unpin_all();
    std::erase_if(moving.presets, is_port_setting);
    chip().set_scenario(moving);
    for (const soc::preset &preset : traffic.presets) {
        if (is_port_setting(preset)) {
            chip().pin(machine().tree().by_name(preset.node)->reg.front().start + preset.offset,
                       preset.value);
        }
    }
}

}  // namespace tests
