// SPDX-License-Identifier: GPL-2.0-only
#include "lab/tests/run_log.h"

#include <fstream>
#include <stdexcept>

namespace lab {

run_log::run_log(const std::string &file) {
    std::ifstream in(file);
    tests::monitor_run run;
    std::uint64_t start = 0;
    std::uint64_t end = 0;

    while (in >> run.block >> run.mode >> run.selection >> start >> end) {
        lengths_[run].push_back(end - start);
    }
    if (!in.eof()) {
        throw std::runtime_error(file + " is no log of runs");
    }
}

tests::run_length run_log::lengths() {
    return [this](const tests::monitor_run &run) {
        std::deque<std::uint64_t> &like_it = lengths_[run];
        const std::uint64_t length = like_it.empty() ? 0 : like_it.front();
        if (!like_it.empty()) {
            like_it.pop_front();
        }
        return length;
    };
}

std::vector<std::string> run_log::left() const {
    std::vector<std::string> result;
    for (const auto &[run, lengths] : lengths_) {
        if (!lengths.empty()) {
            result.push_back(std::to_string(lengths.size()) + " of " + run.block + " in mode " +
                             std::to_string(run.mode) + " with " + std::to_string(run.selection));
        }
    }
    return result;
}

}  // namespace lab
