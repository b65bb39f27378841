// SPDX-License-Identifier: GPL-2.0-only
// The simulator's command language, a line a command.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "sim/simulator.h"

namespace sim {

class console {
  public:
    console(simulator &target, std::ostream &out);

    // Executes one line; an empty one, or one that starts with '#', does nothing. What it prints
    // goes to the output, refusals ("error: ...") included.
    void execute(std::string_view line);

    bool ended() const { return ended_; }                // `quit` was given
    bool understood_all() const { return understood_; }  // no line was refused

    // Reads commands until the end of the input or `quit`.
    void run(std::istream &in);

    // Reads commands from the terminal, with a prompt and line editing.
    void run_interactively();

    // One line per command, as `help` prints it.
    static std::string help();

  private:
    using words = std::vector<std::string>;
    struct command;
    static const std::vector<command> &commands();

    void load(const words &arguments);
    void unload(const words &arguments);
    void ls(const words &arguments);
    void cat(const words &arguments);
    void write(const words &arguments);
    void dmesg(const words &arguments);
    void trace(const words &arguments);
    void peek(const words &arguments);
    void poke(const words &arguments);
    void pin(const words &arguments);
    void unpin(const words &arguments);
    void hang(const words &arguments);
    void scenario(const words &arguments);
    void fail(const words &arguments);
    void clock(const words &arguments);
    void suspend(const words &arguments);
    void resume(const words &arguments);
    void print_help(const words &arguments);
    void quit(const words &arguments);

    void report(const std::string &action, long code);
    void dispatch(std::string_view line);

    simulator &target_;
    std::ostream &out_;
    bool ended_ = false;
    bool understood_ = true;
};

}  // namespace sim
