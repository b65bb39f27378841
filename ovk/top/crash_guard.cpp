// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/crash_guard.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <iterator>

#include "ovk/base/interrupt.h"

namespace ovk::top {

namespace {

// All that end a program and can be handled, but those that are kept as interrupts.
constexpr int deadly[] = {SIGQUIT, SIGILL,  SIGTRAP, SIGABRT,   SIGBUS,  SIGFPE,
                          SIGSEGV, SIGSYS,  SIGUSR1, SIGUSR2,   SIGALRM, SIGXCPU,
                          SIGXFSZ, SIGPOLL, SIGPROF, SIGVTALRM, SIGPWR,  SIGSTKFLT};

constexpr int patience_ms = 2000;

// A handler has nothing else to look at.
struct {
    int terminal;
    termios settings;
    std::array<char, 256> reset;
    std::size_t reset_length;
    volatile int ended;
    struct sigaction before[std::size(deadly)];
} kept;

void restore_terminal() {
    static_cast<void>(write(kept.terminal, kept.reset.data(), kept.reset_length) < 0);
    tcsetattr(kept.terminal, TCSANOW, &kept.settings);
}

// Only the first thread waits: another one may be the one that is waited for.
void let_others_end() {
    pollfd asked = {kept.ended, POLLIN, 0};

    if (kept.ended >= 0 && gettid() == getpid()) {
        interrupt();
        poll(&asked, 1, patience_ms);
    }
}

void restore_handlers() {
    for (std::size_t i = 0; i < std::size(deadly); ++i) {
        sigaction(deadly[i], &kept.before[i], nullptr);
    }
}

// The signal comes again as soon as this returns.
extern "C" void die_in_order(int number) {
    restore_handlers();
    restore_terminal();
    let_others_end();
    raise(number);
}

}  // namespace

crash_guard::crash_guard(int terminal, const termios &settings, const std::string &reset) {
    struct sigaction action = {};

    kept.terminal = terminal;
    kept.settings = settings;
    kept.ended = -1;
    kept.reset_length = std::min(reset.size(), kept.reset.size());
    std::copy_n(reset.begin(), kept.reset_length, kept.reset.begin());
    action.sa_handler = die_in_order;
    for (std::size_t i = 0; i < std::size(deadly); ++i) {
        sigaction(deadly[i], &action, &kept.before[i]);
    }
}

crash_guard::~crash_guard() {
    restore_handlers();
}

void crash_guard::wait_for(int descriptor) {
    kept.ended = descriptor;
}

}  // namespace ovk::top
