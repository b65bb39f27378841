// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ovk/base/interrupt.h"

namespace ovk {

// A program of this machine, with pipes at its standard input and output. It stays in our process
// group, so that it may ask for a password at the terminal, but takes no notice of Ctrl-C.
class child_process {
  public:
    // Throws failure(unreachable) when it can't be started.
    explicit child_process(const std::vector<std::string> &words);
    // Closes its input, which ends a shell, and otherwise sees to it that it ends.
    ~child_process();
    child_process(const child_process &) = delete;
    child_process &operator=(const child_process &) = delete;

    // False: it does not take any more.
    bool send(std::string_view bytes);

    // The next bytes it wrote; empty at the end, nothing when none came within the time. Throws
    // failure(interrupted).
    std::optional<std::string> receive(milliseconds limit);

    // What it wrote to its standard error, the end of it.
    std::string complaints() const;

  private:
    bool ended_within(milliseconds limit);

    int errors_;  // a file without a name
    int input_ = -1;
    int output_ = -1;
    pid_t process_ = -1;
};

}  // namespace ovk
