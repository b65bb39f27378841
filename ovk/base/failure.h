// SPDX-License-Identifier: GPL-2.0-only
// How the program ends, and what carries a failure there.
#pragma once

#include <stdexcept>
#include <string>

namespace ovk {

enum class exit_status : int {
    good = 0,
    condition = 1,    // what was asked for is true: a limit exceeded, an alarm
    usage = 2,        // of the command line
    unreachable = 3,  // the source is not there, or its link broke
    incomplete = 4,   // cut or unparsed under --strict; a replay that differs
    refused = 5,      // a setting that the module did not take
    interrupted = 130,
};

// Ends the program with a status. The text names the source, the attribute, the system's reason and
// a next step, as far as they apply.
class failure : public std::runtime_error {
  public:
    failure(exit_status status, const std::string &text)
        : std::runtime_error(text), status_(status) {}

    exit_status status() const { return status_; }

  private:
    exit_status status_;
};

}  // namespace ovk
