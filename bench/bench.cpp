// SPDX-License-Identifier: GPL-2.0-only
// What the module costs: processor time and allocations, under the host kernel. The waiting is
// virtual, and is what the hardware needs for its windows.
#include <benchmark/benchmark.h>

#include "bench/scaled_chip.h"
#include "sim/simulator.h"

namespace bench {

namespace {

constexpr std::uint32_t time_ms = 16;

void load(benchmark::State &state, host::machine &machine) {
    if (machine.load() != 0) {
        state.SkipWithError("the module does not load");
    }
}

void enable_all(host::machine &machine) {
    for (const auto &node : machine.tree().nodes()) {
        if (node->string("device_type") == "bw") {
            machine.write("bw_total", std::to_string(*node->u32("module-id")) + " 1 " +
                                          std::to_string(time_ms) + " 0\n");
        }
    }
    machine.take_log();
}

// Reads until the benchmark has seen enough, and reports allocations and waiting per read.
void read_repeatedly(benchmark::State &state, host::machine &machine, const char *attribute) {
    const auto allocations = machine.allocations();
    const std::uint64_t waited = machine.waited_us();

    for (auto _ : state) {
        benchmark::DoNotOptimize(machine.read(attribute).text);
    }
    const auto reads = static_cast<double>(state.iterations());
    state.counters["allocations"] =
        static_cast<double>(machine.allocations().calls - allocations.calls) / reads;
    state.counters["bytes"] =
        static_cast<double>(machine.allocations().bytes - allocations.bytes) / reads;
    state.counters["waited_ms"] = static_cast<double>(machine.waited_us() - waited) / reads / 1000;
}

// All modules, and 16 ms, take part.
void read_report(benchmark::State &state, const std::string &soc, const char *attribute,
                 bool simple) {
    sim::simulator simulator({.tree = sim::chip_tree(soc), .soc = soc, .dram_freq = {}});
    host::machine &machine = simulator.machine();

    simulator.set_scenario("playback");
    load(state, machine);
    enable_all(machine);
    machine.write("simple_mon", simple ? "1\n" : "0\n");
    read_repeatedly(state, machine, attribute);
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
    read_repeatedly(state, machine, "bw_total");
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

void register_report(const std::string &soc, const char *attribute, bool simple = false) {
    const std::string name = std::string("read_") + attribute + (simple ? "/simple/" : "/") + soc;

    benchmark::RegisterBenchmark(name.c_str(), [soc, attribute, simple](benchmark::State &state) {
        read_report(state, soc, attribute, simple);
    })->Unit(benchmark::kMicrosecond);
}

void register_chips() {
    for (const std::string &soc : sim::chip_names()) {
        register_report(soc, "bw_total", true);
        for (const char *attribute : {"bw_total", "bw_larb", "bw_scomm", "bw_emi", "bw_bus"}) {
            register_report(soc, attribute);
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
