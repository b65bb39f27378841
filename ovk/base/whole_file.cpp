// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/base/whole_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "ovk/base/failure.h"

namespace ovk {

void write_whole_file(const std::string &file, const std::string &content) {
    const std::string unfinished = file + "." + std::to_string(getpid());

    std::ofstream out(unfinished, std::ios::binary);
    out << content << std::flush;
    const bool written = out.good();
    out.close();
    if (!written || std::rename(unfinished.c_str(), file.c_str()) != 0) {
        const std::string reason = std::strerror(errno);
        std::remove(unfinished.c_str());
        throw failure(exit_status::usage, file + ": can't be written: " + reason);
    }
}

}  // namespace ovk
