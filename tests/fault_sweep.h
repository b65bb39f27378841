// SPDX-License-Identifier: GPL-2.0-only
// Makes every request of one kind fail once, one after the other.
#pragma once

#include <array>
#include <cstdint>
#include <iostream>
#include <string>

#include "tests/rig.h"

namespace tests {

using host::fault_kind;

// What a request of the kernel may fail in. Signals to a waiting process have tests of their own.
inline constexpr fault_kind all_kinds[] = {
    fault_kind::allocation, fault_kind::mapping,   fault_kind::node, fault_kind::property,
    fault_kind::presence,   fault_kind::attribute, fault_kind::mask};

inline const char *name_of(fault_kind kind) {
    static constexpr std::array names = {"allocation", "mapping",   "node", "property",
                                         "presence",   "attribute", "mask"};

    return names.at(static_cast<std::size_t>(kind));
}

// Runs `attempt` with its first request of the kind failing, then with its second, until none is
// left to fail; `judge` follows every failure, with its number. Returns how many there were.
template <class A, class J>
std::uint64_t sweep(rig &r, fault_kind kind, const std::string &what, A attempt, J judge) {
    for (std::uint64_t n = 1;; n++) {
        SCOPED_TRACE(std::string(name_of(kind)) + " " + std::to_string(n));
        const std::uint64_t before = r.machine().requests(kind);
        r.machine().fail_nth(kind, n);
        attempt();
        r.machine().clear_faults();
        if (r.machine().requests(kind) - before < n) {
            testing::Test::RecordProperty(name_of(kind), std::to_string(n - 1));
            if (n > 1) {
                std::cout << what << ": " << n - 1 << " points, " << name_of(kind) << "\n";
            }
            return n - 1;
        }
        judge(n);
        EXPECT_EQ(r.machine().take_oopses(), lines{});
    }
}

}  // namespace tests
