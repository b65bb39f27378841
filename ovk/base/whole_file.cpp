// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/base/whole_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "ovk/base/failure.h"
#include "ovk/base/open_file.h"
#include "ovk/base/write_all.h"

namespace ovk {

namespace {

// Its place is never taken by another file: a terminal, a pipe, /dev/null.
bool is_device(const std::string &file) {
    std::error_code none;
    const auto status = std::filesystem::status(file, none);
    return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

bool write_into(const std::string &file, const std::string &content) {
    const open_file out(file, O_WRONLY);
    return out.good() && write_all(out.descriptor(), content);
}

bool replace(const std::string &file, const std::string &content) {
    const std::string unfinished = file + "." + std::to_string(getpid());
    const open_file out(unfinished, O_WRONLY | O_CREAT | O_EXCL);

    if (!out.good()) {
        return false;
    }
    if (write_all(out.descriptor(), content) &&
        std::rename(unfinished.c_str(), file.c_str()) == 0) {
        return true;
    }
    const int reason = errno;
    std::remove(unfinished.c_str());
    errno = reason;
    return false;
}

}  // namespace

void write_whole_file(const std::string &file, const std::string &content) {
    if (!(is_device(file) ? write_into(file, content) : replace(file, content))) {
        throw failure(exit_status::usage,
                      file + ": can't be written: " + std::strerror(errno) + "; name another file");
    }
}

}  // namespace ovk
