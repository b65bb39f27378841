// SPDX-License-Identifier: GPL-2.0-only
// The attributes of the module, for all tests that go through them.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "platform/host/machine.h"

namespace tests {

// A complete report begins with the one and has the other.
struct report_form {
    const char *begins;
    const char *has;
};

struct attribute {
    const char *name;
    unsigned mode;
    const char *group;  // of attributes that are created together; "": none
    int level;          // of the message that it can't be created
    // To write, on any chip. Those of a report that measures make it measure for a few ms at most,
    // and with the first one it has something to show. None keeps a handler from returning.
    std::vector<const char *> texts = {};
    std::vector<report_form> forms = {};  // a report has one of these
    bool may_be_empty = false;            // nothing selected, or nothing enabled

    bool is_readable() const { return (mode & 0400) != 0; }
    bool is_writable() const { return (mode & 0200) != 0; }
    // Whether a report came to its end or to the end of the page.
    bool is_complete(const std::string &report) const;
};

inline void PrintTo(const attribute &each, std::ostream *out) {
    *out << each.name;
}

// In the order of their creation.
const std::vector<attribute> &attribute_list();

// A line "bw_total 0644" for each attribute, of this list and of a machine's loaded module.
// Compared as texts they show which attribute makes the difference.
std::string names_and_modes();
std::string names_and_modes(const host::machine &machine);

}  // namespace tests
