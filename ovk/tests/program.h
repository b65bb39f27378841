// SPDX-License-Identifier: GPL-2.0-only
// The program, run in the test's own process.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "ovk/command/program.h"

namespace ovk::tests {

struct outcome {
    int status;
    std::string out;
    std::string err;
};

inline outcome ovk_with(const std::vector<std::string> &arguments) {
    std::vector<const char *> words = {"ovk"};
    std::ostringstream out;
    std::ostringstream err;

    for (const std::string &each : arguments) {
        words.push_back(each.c_str());
    }
    const int status = run_program(static_cast<int>(words.size()), words.data(), out, err);
    return {status, out.str(), err.str()};
}

}  // namespace ovk::tests
