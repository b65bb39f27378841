// SPDX-License-Identifier: GPL-2.0-only
// What the parts of the host kernel hand out: log lines, trace entries, requests, and the kinds of
// faults that they can be made to have.
#pragma once

#include <cstdint>
#include <string>

namespace host {

struct log_line {
    int level;
    std::string text;  // without the level prefix and without the final newline
    bool ended;        // whether there was one
};

// One entry of the register trace.
struct trace_entry {
    enum class kind { read, write, barrier, sleep };
    kind what;
    unsigned width;        // read, write: 16, 32 or 64
    std::string node;      // read, write: name of the node whose window was used
    std::uint64_t offset;  // read, write: offset in that window
    std::uint64_t value;   // read, write
    std::uint64_t min_us;  // sleep
    std::uint64_t max_us;  // sleep

    // "R32 larb4+0x410 0x00000a00", "W64 emi_cen0+0x060 0x...", "wmb", "sleep 16000 16000".
    std::string text() const;
};

// Of a read: the byte count, or a negative error code, and the bytes.
struct read_result {
    long code;
    std::string text;
};

struct attribute_info {
    std::string name;
    unsigned mode;  // permission bits, for instance 0644
};

// What can be made to fail. Counting starts at 1 with the next request of that kind; every request
// of the kind counts, those that ask for a thing that does not exist included. `presence` is the
// question whether a node has a property, to which the answer is no then. A wait (a sleep, a
// turn of a busy wait, a lock) "fails" in that its process gets a fatal signal as it begins.
enum class fault_kind { allocation, mapping, node, property, presence, attribute, mask, wait };

struct allocation_count {
    std::uint64_t calls;
    std::uint64_t bytes;
};

}  // namespace host
