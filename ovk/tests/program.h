// SPDX-License-Identifier: GPL-2.0-only
// The program, run in the test's own process or as a process of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "ovk/base/failure.h"
#include "ovk/command/program.h"

namespace ovk::tests {

using lines = std::vector<std::string>;

struct outcome {
    int status;
    std::string out;
    std::string err;
};

// Words with blanks in them stand in single quotes.
inline lines words_in(const std::string &command_line) {
    std::istringstream text(command_line);
    lines words;
    for (std::string word; text >> std::quoted(word, '\'');) {
        words.push_back(word);
    }
    return words;
}

inline outcome ovk_with(const lines &arguments) {
    std::vector<const char *> words = {"ovk"};
    std::ostringstream out;
    std::ostringstream err;

    for (const std::string &each : arguments) {
        words.push_back(each.c_str());
    }
    const int status = run_program(static_cast<int>(words.size()), words.data(), out, err);
    return {status, out.str(), err.str()};
}

inline outcome ovk_with(const std::string &command_line) {
    return ovk_with(words_in(command_line));
}

// How a part of the program ends, by the failure that it throws.
template <class part>
outcome outcome_of(part &&run) {
    try {
        run();
        return {0, "", ""};
    } catch (const failure &error) {
        return {static_cast<int>(error.status()), "", error.what()};
    }
}

inline testing::AssertionResult has(const std::string &text, const std::string &part) {
    return text.find(part) != text.npos
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << "no '" << part << "' in: " << text;
}

// With this status, and saying this among other things.
inline testing::AssertionResult ends(const outcome &came, int status, const std::string &says) {
    return came.status == status
               ? has(came.err, says)
               : testing::AssertionFailure() << "status " << came.status << ": " << came.err;
}

class running_program {
  public:
    explicit running_program(const std::string &command_line) : process_(fork()) {
        if (process_ == 0) {
            const std::string command = "exec " OVK_PROGRAM " " + command_line;
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
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
    pid_t process_;
};

}  // namespace ovk::tests
