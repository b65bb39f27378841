// SPDX-License-Identifier: GPL-2.0-only
// A session of reads and writes, well-formed and malformed, from a fixed seed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lab {

struct operation {
    bool is_write;
    std::string attribute;
    std::string text;  // to write

    std::string describe() const;
};

// Variations of what the console's sessions and the attributes' list write to each of these, with
// reads in between. Before one that measures, its time is set to one that a test can wait for.
// Throws for an attribute that is not in the list.
std::vector<operation> generate_session(const std::vector<std::string> &attributes, unsigned seed);

}  // namespace lab
