// SPDX-License-Identifier: GPL-2.0-only
// What the module costs: processor time and allocations, under the host kernel. The waiting is
// virtual; it is shown next to what the hardware mandates, and the two have to be equal.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "bench/scaled_chip.h"
#include "sim/simulator.h"
#include "tests/chip_view.h"
#include "tests/oracle.h"
#include "tests/port_oracle.h"

namespace bench {

namespace {

constexpr std::uint32_t time_ms = 16;
constexpr const char *chips[] = {"zt410", "zt420", "zt430", "zt440"};

void load(benchmark::State &state, host::machine &machine) {
    if (machine.load() != 0) {
        state.SkipWithError("the module does not load");
    }
}

void enable_all(host::machine &machine) {
    const auto modules = tests::sources_by_module(machine.tree()).size();

    for (std::size_t id = 0; id < modules; id++) {
        machine.write("bw_total", std::to_string(id) + " 1 " + std::to_string(time_ms) + " 0\n");
    }
    machine.take_log();
}

// Reads until the benchmark has seen enough, and reports allocations and waiting per read.
void read_repeatedly(benchmark::State &state, host::machine &machine, const char *attribute,
                     std::uint64_t mandated) {
    const auto allocations = machine.allocations();
    const std::uint64_t waited = machine.waited_us();

    for (auto _ : state) {
        benchmark::DoNotOptimize(machine.read(attribute).text);
    }
    const auto reads = static_cast<double>(state.iterations());
    const double waited_ms = static_cast<double>(machine.waited_us() - waited) / reads / 1000;
    const double mandated_ms = static_cast<double>(mandated) / 1000;
    state.counters["allocations"] =
        static_cast<double>(machine.allocations().calls - allocations.calls) / reads;
    state.counters["bytes"] =
        static_cast<double>(machine.allocations().bytes - allocations.bytes) / reads;
    state.counters["waited_ms"] = waited_ms;
    state.counters["mandated_ms"] = mandated_ms;
    if (waited_ms != mandated_ms) {
        state.SkipWithError("a read waits for something else than the hardware");
    }
}

void read_bw_total(benchmark::State &state, const std::string &soc, bool simple) {
    sim::simulator simulator({.tree = sim::chip_tree(soc), .soc = soc, .dram_freq = {}});
    const soc::scenario traffic = sim::find_scenario(soc, "playback");

    simulator.chip().set_scenario(traffic);
    load(state, simulator.machine());
    enable_all(simulator.machine());
    simulator.machine().write("simple_mon", simple ? "1\n" : "0\n");
    read_repeatedly(state, simulator.machine(), "bw_total",
                    tests::expect_wait_us(simulator.machine().tree(), traffic, time_ms));
    simulator.machine().unload();
}

// The larb report is that of GOP, which it shows after a load.
std::uint32_t gop_of(const devicetree::flat_tree &tree) {
    const auto modules = tests::modules_of(tree);
    const auto gop = std::find_if(modules.begin(), modules.end(), [](const auto *module) {
        return module->string("module-name") == "GOP";
    });
    return static_cast<std::uint32_t>(gop - modules.begin());
}

std::uint64_t mandated_us(const std::string &attribute, const devicetree::flat_tree &tree,
                          const soc::scenario &traffic) {
    const tests::port_oracle oracle(tree, traffic, time_ms);

    if (attribute == "bw_larb") {
        return oracle.larb_wait_us(gop_of(tree));
    }
    return attribute == "bw_scomm" ? oracle.common_wait_us() : oracle.emi_wait_us();
}

// All measure for 16 ms after a load.
void read_ports(benchmark::State &state, const std::string &soc, const char *attribute) {
    sim::simulator simulator({.tree = sim::chip_tree(soc), .soc = soc, .dram_freq = {}});
    const soc::scenario traffic = sim::find_scenario(soc, "playback");
    host::machine &machine = simulator.machine();

    simulator.chip().set_scenario(traffic);
    load(state, machine);
    read_repeatedly(state, machine, attribute, mandated_us(attribute, machine.tree(), traffic));
    machine.unload();
}

void load_and_unload(benchmark::State &state, const std::string &soc) {
    sim::simulator simulator({.tree = sim::chip_tree(soc), .soc = soc, .dram_freq = {}});

    for (auto _ : state) {
        load(state, simulator.machine());
        simulator.machine().unload();
    }
}

void read_with_modules(benchmark::State &state) {
    const auto modules = static_cast<unsigned>(state.range(0));
    const devicetree::flat_tree tree = scaled_chip(modules);
    still_bus hardware(tree);
    host::machine machine(tree, hardware, {.module_image = sim::module_image(), .dram_freq = {}});

    load(state, machine);
    read_repeatedly(state, machine, "bw_total", std::uint64_t{modules - 3} * time_ms * 1000);
    machine.unload();
    state.SetComplexityN(state.range(0));
}

BENCHMARK(read_with_modules)
    ->Arg(16)
    ->Arg(64)
    ->Arg(256)
    ->Arg(1024)
    ->Unit(benchmark::kMicrosecond)
    ->Complexity(benchmark::oN);

void register_chips() {
    for (const std::string soc : chips) {
        for (const bool simple : {false, true}) {
            benchmark::RegisterBenchmark(
                ("read_bw_total/" + soc + (simple ? "/simple" : "/full")).c_str(),
                [soc, simple](benchmark::State &state) { read_bw_total(state, soc, simple); })
                ->Unit(benchmark::kMicrosecond);
        }
        for (const char *attribute : {"bw_larb", "bw_scomm", "bw_emi", "bw_bus"}) {
            benchmark::RegisterBenchmark(
                ("read_" + std::string(attribute) + "/" + soc).c_str(),
                [soc, attribute](benchmark::State &state) { read_ports(state, soc, attribute); })
                ->Unit(benchmark::kMicrosecond);
        }
        benchmark::RegisterBenchmark(
            ("load_and_unload/" + soc).c_str(),
            [soc](benchmark::State &state) { load_and_unload(state, soc); })
            ->Unit(benchmark::kMicrosecond);
    }
}

}  // namespace

}  // namespace bench

int main(int argc, char **argv) {
    bench::register_chips();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
