// SPDX-License-Identifier: GPL-2.0-only
// A POSIX shell on another machine that carries out one command after the other and frames what
// comes of each:
//
//   ovk 7 begin
//   what it printed, as an octal dump
//   ovk 7 then
//   start, end, messages and exit statuses, as an octal dump
//   ovk 7 end
//
// The number is that of the request. All else (greetings, prompts, echoes) is passed over, carriage
// returns are too; a frame that is not whole and in turn is no answer. Nothing is read into the
// exit status of the program that makes the link: not all of them have one to tell.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ovk/base/child_process.h"

namespace ovk {

// Of a command over there.
struct shell_answer {
    std::string output;
    std::string messages;  // its standard error
    bool succeeded = false;
    std::int64_t start_ns = 0;  // the machine's clock, in steps of 10 ms
    std::int64_t end_ns = 0;
};

class shell_link {
  public:
    // Starts the program that makes the link, and greets the shell behind it. Throws
    // failure(unreachable).
    shell_link(std::string name, const std::vector<std::string> &program);

    // Carries out a command of the shell, whose words are quoted where they need to be. Throws
    // failure: unreachable when the link broke or what came is no answer, or interrupted.
    shell_answer run(const std::string &command);

    // Puts bytes into the shell's variable ovk_text, as printf's %b takes them.
    void load_text(std::string_view bytes);

    // Throws failure(unreachable) with what the program at the link says.
    [[noreturn]] void give_up(const std::string &reason) const;

  private:
    using lines = std::vector<std::string>;

    void greet();
    void send(const std::string &text);
    milliseconds time_left() const;
    std::string next_line();
    void skip_to(const std::string &mark);
    lines lines_until(const std::string &mark);
    shell_answer answer_from(const lines &output, const lines &ending);

    std::string name_;
    child_process program_;
    std::optional<std::chrono::steady_clock::time_point> greeting_end_;  // until it is over
    unsigned number_ = 0;
    std::string received_;
};

}  // namespace ovk
