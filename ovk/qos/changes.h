// SPDX-License-Identifier: GPL-2.0-only
// What is not as it should be, and how it is changed.
#pragma once

#include "ovk/qos/settings.h"

namespace ovk {

struct attribute_write {
    std::string attribute;
    std::string text;
};

struct change {
    std::string what;  // the setting, in words
    std::string now;
    std::string wanted;
    std::vector<attribute_write> writes;  // none: no attribute takes what is wanted
    std::vector<attribute_write> back;    // none: no attribute takes what is there now
};

// "larb 3 port 1 outstanding_limit: 0x0 -> 0x10"
std::string words_for(const change &each);

struct difference {
    std::vector<change> changes = {};       // those that can't be undone come last
    std::vector<std::string> unknown = {};  // wanted settings that could not be read now
    bool switches_on = false;  // whether a change, or the way back, writes the mode of CPU ranges
};

// CPU ranges that have to be switched on get this mode, 1 or 2, as do all others with them. What
// is not known to be wanted is left out.
difference difference_of(const qos_settings &now, const qos_settings &wanted, unsigned cpu_mode);

}  // namespace ovk
