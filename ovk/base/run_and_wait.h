// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>
#include <vector>

namespace ovk {

// Runs a program of this machine to its end, with our terminal. Empty when it ended with 0, else
// what there is to say about it.
std::string run_and_wait(const std::vector<std::string> &words);

}  // namespace ovk
