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

// The name of a negative error code, EEXIST for -17.
std::string error_name(long code);

// Objections, each once and with its count when there were several.
std::vector<std::string> counted(const std::vector<std::string> &objections);

class console {
  public:
    console(simulator &target, std::ostream &out);

    // Executes one line; an empty one, or one that starts with '#', does nothing. What it prints
    // goes to the output, refusals ("error: ...") included.
    void execute(std::string_view line);

    bool ended() const { return ended_; }                // `quit` was given
    bool understood_all() const { return understood_; }  // no line was refused
    bool succeeded_all() const { return succeeded_; }    // nothing that a command did failed
    bool had_oopses() const { return oopses_; }          // on a terminal, where they were told

    // Reads commands until the end of the input or `quit`.
    void run(std::istream &in);

    // Reads commands from the terminal, with a greeting, a prompt, line editing and completion.
    // Errors have names there, and what the chip objects to is told at once.
    void run_interactively();

    // What the word may become that follows the start of a line.
    std::vector<std::string> completions(const std::string &start, const std::string &word) const;

    // One line per command, or the one's that is wanted, as `help` prints it.
    static std::string help(std::string_view wanted = {});

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
    void tell_oopses();
    void dispatch(std::string_view line);

    simulator &target_;
    std::ostream &out_;
    bool ended_ = false;
    bool understood_ = true;
    bool succeeded_ = true;
    bool oopses_ = false;
    bool on_terminal_ = false;
};

}  // namespace sim
