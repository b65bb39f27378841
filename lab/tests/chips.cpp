// SPDX-License-Identifier: GPL-2.0-only
#include "lab/tests/chips.h"

#include <fstream>

#include "tests/rig.h"

namespace lab {

std::vector<std::uint64_t> configuration_of(const devicetree::flat_tree &tree) {
    std::vector<std::uint64_t> addresses;

    for (const auto &node : tree.nodes()) {
        if (node->string("compatible").value_or("").ends_with("-effi-mon") && node->available()) {
            for (std::uint32_t offset = 0x0c; offset <= 0x28; offset += 4) {
                addresses.push_back(node->reg.at(0).start + offset);
            }
        }
    }
    return addresses;
}

void expect_configured(const std::string &soc, const soc::register_file &registers) {
    tests::rig host(soc);

    host.loaded();
    for (const std::uint64_t address : configuration_of(host.machine().tree())) {
        EXPECT_EQ(registers.get32(address), host.chip().peek(address, 32)) << std::hex << address;
    }
}

std::string enable_all(const devicetree::flat_tree &tree, std::uint32_t time_ms) {
    return "for id in $(seq 0 " + std::to_string(tests::modules_of(tree).size() - 1) +
           "); do echo $id 1 " + std::to_string(time_ms) + " 0 >bw_total; done\n";
}

run_log::run_log(const std::string &file) {
    std::ifstream in(file);
    tests::monitor_run run;
    std::uint64_t start = 0;
    std::uint64_t end = 0;

    while (in >> run.block >> run.mode >> run.selection >> start >> end) {
        runs_.emplace(run, end - start);
    }
    EXPECT_TRUE(in.eof()) << file;
}

tests::run_length run_log::lengths() {
    return [this](const tests::monitor_run &run) {
        const auto first = runs_.lower_bound(run);
        return first == runs_.upper_bound(run) ? 0 : runs_.extract(first).mapped();
    };
}

tests::lines run_log::left() const {
    tests::lines blocks;

    for (const auto &[run, length] : runs_) {
        blocks.push_back(run.block);
    }
    return blocks;
}

}  // namespace lab
