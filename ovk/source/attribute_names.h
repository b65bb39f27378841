// SPDX-License-Identifier: GPL-2.0-only
// What a source on a Linux machine knows of the places where things are.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ovk {

constexpr const char *attribute_directory = "/sys/bus/platform/drivers/ovk-bw";
constexpr const char *module_version_file = "/sys/module/ovk_bw/version";
constexpr const char *compatible_file = "/proc/device-tree/compatible";
constexpr const char *trace_marker_file = "/sys/kernel/tracing/trace_marker";

// The name as it is, for a path or a shell. Throws failure(usage) for what can't be an attribute's:
// only letters, digits, "_" and "-" are in one.
std::string checked_name(const std::string &source_name, std::string_view attribute);

// The names in order, without those files that every driver has.
std::vector<std::string> attributes_among(std::vector<std::string> files);

// Up to the first newline or NUL.
std::string first_line(const std::string &text);

}  // namespace ovk
