// SPDX-License-Identifier: GPL-2.0-only
// The lines of a recording as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "ovk/source/recording.h"

namespace ovk {

// Keeps the order of the members.
using json = nlohmann::ordered_json;

// A string; or {"hex": "..."} for bytes that are no UTF-8.
json json_of_bytes(const std::string &bytes);
std::string bytes_of_json(const json &value);

json json_of(const recording_header &header);
json json_of(const operation &done);

// Throw json::exception or failure(unreachable) for what they do not understand.
recording_header header_of(const json &line);
operation operation_of(const json &line);

}  // namespace ovk
