// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/qos/settings.h"

#include <algorithm>

namespace ovk {

const setting_kind &kind_of(const setting_key &key) {
    return *std::find_if(std::begin(setting_kinds), std::end(setting_kinds),
                         [&](const setting_kind &each) {
                             return each.of_larb == key.of_larb && each.name == key.name;
                         });
}

std::string words_for(const setting_key &key) {
    return (key.of_larb ? "larb " : "EMI channel ") + std::to_string(key.block) + " port " +
           std::to_string(key.port) + " " + key.name;
}

}  // namespace ovk
