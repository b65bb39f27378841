// SPDX-License-Identifier: GPL-2.0-only
// The program as a process of its own.
#pragma once

#include <spawn.h>
#include <sys/wait.h>

#include <csignal>
#include <string>
#include <vector>

extern char **environ;

namespace ovk::tests {

class running_program {
  public:
    explicit running_program(std::vector<std::string> arguments) {
        std::vector<char *> words = {program_.data()};
        for (std::string &each : arguments) {
            words.push_back(each.data());
        }
        words.push_back(nullptr);
        posix_spawn(&process_, program_.c_str(), nullptr, nullptr, words.data(), environ);
    }
    ~running_program() {
        if (process_ > 0) {
            kill(process_, SIGKILL);
            wait();
        }
    }
    running_program(const running_program &) = delete;
    running_program &operator=(const running_program &) = delete;

    void signal(int number) const { kill(process_, number); }

    // The exit status, or the negative number of the signal that ended it.
    int wait() {
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

  private:
    std::string program_ = OVK_PROGRAM;
    pid_t process_ = -1;
};

}  // namespace ovk::tests
