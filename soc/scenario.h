// SPDX-License-Identifier: GPL-2.0-only
// Traffic that a person can write down: what every source of the chip moves, and how.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace soc {

// What one source moves. Rates in MB/s (10^6 bytes per second).
struct flow {
    std::uint32_t read = 0;
    std::uint32_t write = 0;
    std::uint32_t efficiency = 80;  // percent of the bus time that carries data
    std::uint32_t ultra = 0;        // percent of the requests with ultra priority
    std::uint32_t preultra = 0;     // percent with pre-ultra priority
    std::uint32_t burst = 7;        // average burst, as the efficiency monitor reports it
    std::uint32_t latency = 200;    // average, ns
    std::uint32_t period = 100;     // longest command period, ns
};

enum class source_kind { larb_port, common_input, emi_port };

struct source {
    source_kind kind;
    std::uint32_t block;  // larb or SMI common number; unused for an EMI port
    std::uint32_t port;
    flow traffic;
};

// A register that firmware has set up before, for instance an SMI common's path selection.
struct preset {
    std::string node;
    std::uint32_t offset;
    std::uint32_t value;
};

struct scenario {
    std::string title;
    std::vector<source> sources;
    std::vector<preset> presets;

    // Throws std::runtime_error with file and line when the file is not a scenario.
    static scenario from_file(const std::filesystem::path &file);
};

}  // namespace soc
