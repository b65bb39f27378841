// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/command/context.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace ovk {

namespace {

// Errno, or 0.
int error_of_writing(const std::filesystem::path &file) {
    std::error_code none;
    const bool there = std::filesystem::exists(file, none);
    const auto folder = file.has_parent_path() ? file.parent_path() : ".";

    if (std::filesystem::is_directory(file, none)) {
        return EISDIR;
    }
    return access((there ? file : folder).c_str(), W_OK) == 0 ? 0 : errno;
}

}  // namespace

std::unique_ptr<source> context::open() const {
    return open_source(source_name.empty() ? "sysfs" : source_name);
}

void context::check_output(const std::string &file) const {
    static constexpr std::string_view recording = "file:";
    std::error_code none;
    const bool is_source =
        source_name.starts_with(recording) &&
        std::filesystem::equivalent(source_name.substr(recording.size()), file, none);
    const int error = error_of_writing(file);

    if (is_source || error != 0) {
        throw failure(exit_status::usage,
                      file + ": can't be written: " +
                          (is_source ? "it is the source" : std::strerror(error)) +
                          "; name another file");
    }
}

}  // namespace ovk
