// SPDX-License-Identifier: GPL-2.0-only
// The file that settings are kept in.
#pragma once

#include "ovk/qos/settings.h"

namespace ovk {

struct qos_file {
    std::string version = {};  // of ovk
    std::string source = {};
    std::map<std::string, std::string> facts = {};  // see source::fact
    qos_settings settings = {};
};

qos_file describe_settings(source &from);

// Whole or not at all. Throws failure(usage) when the file can't be written.
void write_qos_file(const std::string &name, const qos_file &content);

// Throws failure(usage) for what is no such file.
qos_file read_qos_file(const std::string &name);

}  // namespace ovk
