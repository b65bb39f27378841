// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>

namespace ovk {

// Writes a file whole or not at all: who reads it meanwhile has the old one. What is no file, such
// as a pipe or /dev/null, is written to. Throws failure(usage) with the system's reason.
void write_whole_file(const std::string &file, const std::string &content);

}  // namespace ovk
