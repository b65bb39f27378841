// SPDX-License-Identifier: GPL-2.0-only
// Device trees from source text.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "devicetree/flat_tree.h"

namespace tests {

inline devicetree::flat_tree compiled(const std::string &text) {
    const std::string file = testing::TempDir() + "tree_" + std::to_string(getpid()) + ".dts";

    std::ofstream(file) << text;
    devicetree::flat_tree tree = devicetree::flat_tree::from_file(file);
    std::filesystem::remove(file);
    return tree;
}

}  // namespace tests
