// SPDX-License-Identifier: GPL-2.0-only
// Who may have how much of the memory: the settings that are saved and restored.
#pragma once

#include <array>
#include <compare>
#include <map>
#include <string>
#include <vector>

#include "ovk/report/figures.h"
#include "ovk/source/source.h"

namespace ovk {

// A setting of a port, of an EMI channel or of a larb.
struct setting_kind {
    bool of_larb;
    const char *name;
    const char *attribute;  // that takes it
    const char *text;       // as it takes it: B block, P port, V value
    std::uint64_t values;   // it takes those below
};

inline constexpr setting_kind setting_kinds[] = {
    {false, "bandwidth_limit", "bw_emi_lmt", "B P V", 0x40},
    {false, "read_timer", "bw_emi_timer", "B P 0 V", 0x100},
    {false, "write_timer", "bw_emi_timer", "B P 1 V", 0x100},
    {false, "read_outstanding", "bw_emi_ostd", "B P 0 V", 0x100},
    {false, "write_outstanding", "bw_emi_ostd", "B P 1 V", 0x100},
    {true, "outstanding_limit", "larb_config", "0 B P V", 0x40},
    {true, "force_ultra", "larb_config", "1 B P V", 2},
    {true, "force_preultra", "larb_config", "2 B P V", 2},
};

struct setting_key {
    bool of_larb;
    std::uint64_t block;  // number of the EMI channel or the larb
    std::uint64_t port;
    std::string name;

    auto operator<=>(const setting_key &) const = default;
};

const setting_kind &kind_of(const setting_key &key);

// "larb 3 port 1 outstanding_limit"
std::string words_for(const setting_key &key);

struct address_range {
    std::uint64_t start;
    std::uint64_t end;  // the last byte

    bool operator==(const address_range &) const = default;
};

// One of the ranges in which the CPU has priority.
struct cpu_scope {
    bool known = false;
    std::optional<address_range> range = {};  // none: it is off
};

constexpr std::size_t cpu_scopes = 3;

struct qos_settings {
    std::map<setting_key, figure> ports = {};  // empty: could not be read
    std::array<cpu_scope, cpu_scopes> cpu = {};
    std::vector<std::string> unreadable = {};  // what could not be read, in words
};

// Throws failure. Settings that no attribute shows, and those that one did not show this time, are
// named in `unreadable`.
qos_settings read_settings(source &from);

}  // namespace ovk
