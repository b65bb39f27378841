// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/base/run_and_wait.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace ovk {

std::string run_and_wait(const std::vector<std::string> &words) {
    std::vector<char *> arguments;
    pid_t process = -1;
    int status = 0;

    arguments.reserve(words.size() + 1);
    for (const std::string &each : words) {
        arguments.push_back(const_cast<char *>(each.c_str()));
    }
    arguments.push_back(nullptr);
    const int error =
        posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ);
    if (error != 0) {
        return words[0] + ": " + std::strerror(error);
    }
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) {
        return words[0] + ": ended by signal " + std::to_string(WTERMSIG(status));
    }
    return WEXITSTATUS(status) == 0
               ? ""
               : words[0] + ": ended with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace ovk
