// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>

namespace ovk {

// Writes a file whole or not at all: who reads it meanwhile has the old one. Throws failure(usage)
// with the system's reason.
void write_whole_file(const std::string &file, const std::string &content);

}  // namespace ovk
