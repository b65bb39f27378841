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

// Every one of the attributes takes part. Before a report that measures is read, the time that it
// takes is set to one that a test can wait for. Throws for an attribute that it does not know.
std::vector<operation> generate_session(const std::vector<std::string> &attributes,
                                        std::uint32_t modules, unsigned seed);

}  // namespace lab
