// SPDX-License-Identifier: GPL-2.0-only
// What the fuzzers share: chips, choices that follow the input, and a judge that ends the process.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "sim/simulator.h"

// The fuzzer looks for further counters in a section of this name.
extern "C" {
__attribute__((section("__libfuzzer_extra_counters"))) unsigned char fuzz_module_counters[16384];
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *bytes, std::size_t size, std::size_t most);

// Inputs would grow slowly from nothing: short ones are drawn by lot.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *bytes, std::size_t size,
                                               std::size_t most, unsigned seed) {
    if (size >= most / 4) {
        return LLVMFuzzerMutate(bytes, size, most);
    }
    std::generate_n(bytes, most, std::minstd_rand(seed));
    return most;
}

namespace fuzz {

using choices = FuzzedDataProvider;

struct chip {
    explicit chip(const std::string &name)
        : tree(sim::chip_tree(name)), traffic(sim::find_scenario(name, "playback")) {}
    devicetree::flat_tree tree;
    soc::scenario traffic;
};

template <typename list>
const auto &pick(choices &input, const list &entries) {
    return entries[input.ConsumeIntegralInRange<std::size_t>(0, std::size(entries) - 1)];
}

inline const chip &pick_chip(choices &input) {
    static const std::vector<std::string> names = sim::chip_names();
    static const std::vector<chip> chips(names.begin(), names.end());
    return pick(input, chips);
}

// Small, or at a limit. What is measured one by one is then few, or too many to find memory for.
inline std::uint32_t pick_number(choices &input) {
    static constexpr std::uint32_t limits[] = {63,         64,         255,        256,
                                               0x7fffffff, 0x80000000, 0xfffffffe, 0xffffffff};
    const auto byte = input.ConsumeIntegral<std::uint8_t>();
    return byte < 192 ? byte % 48 : limits[byte % std::size(limits)];
}

inline void expect(bool right, const std::string &claim, long code = 0) {
    if (!right) {
        std::fprintf(stderr, "finding: %s: %ld\n", claim.c_str(), code);
        std::abort();
    }
}

inline void read(host::machine &machine, const host::attribute_info &attribute) {
    const std::string &name = attribute.name;
    const long code = machine.read(name).code;
    expect((code >= 0 && code < 4096) || code == -ENOMEM ||
               (code == -EACCES && (attribute.mode & 0444) == 0) ||
               (code == -EPERM && (name == "bw_emi" || name == "bw_bus")) ||
               (code == -ETIMEDOUT && name == "bw_bus"),
           "read of " + name, code);
}

inline void write(host::machine &machine, const std::string &name, const std::string &text) {
    const long code = machine.write(name, text);
    expect(code == static_cast<long>(text.size()) || (code == -EPERM && name == "cpupri"),
           "write of " + name, code);
}

// With the measuring times that the fuzzers set, the requests of an input end within an hour.
inline void expect_end(const host::machine &machine) {
    expect(machine.waited_us() < 3'600'000'000, "too many us waited");
}

}  // namespace fuzz
