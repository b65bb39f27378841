// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/base/interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>

#include "ovk/base/failure.h"

namespace ovk {

namespace {

// Written to by the handler, never read: once there is something in it, it stays readable.
std::array<int, 2> came = {-1, -1};

thread_local int holders = 0;

extern "C" void note_interrupt(int) {
    interrupt();
}

// To be polled; -1 is passed over.
int watched() {
    return holders == 0 ? came[0] : -1;
}

bool has_come() {
    pollfd asked = {watched(), POLLIN, 0};
    return asked.fd >= 0 && poll(&asked, 1, 0) > 0;
}

// For poll: milliseconds, negative for ever.
int as_timeout(milliseconds left) {
    return left.count() < 0 ? -1 : static_cast<int>(std::min<long long>(left.count(), INT_MAX));
}

}  // namespace

void watch_for_interrupts() {
    if (pipe2(came.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw failure(exit_status::unreachable, "no pipe for signals");
    }
    struct sigaction action = {};
    action.sa_handler = note_interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
}

void interrupt() {
    const int kept = errno;
    if (write(came[1], "", 1) < 0) {
        errno = kept;
    }
}

void throw_if_interrupted() {
    if (has_come()) {
        throw failure(exit_status::interrupted, "interrupted");
    }
}

held_interrupts::held_interrupts() {
    ++holders;
}

held_interrupts::~held_interrupts() {
    --holders;
}

bool wait_for_input(int descriptor, milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    std::array<pollfd, 2> asked = {pollfd{descriptor, POLLIN, 0}, pollfd{watched(), POLLIN, 0}};
    milliseconds left = limit;

    for (;;) {
        const int ready = poll(asked.data(), asked.size(), as_timeout(left));
        throw_if_interrupted();
        if (ready > 0) {
            return true;
        }
        if (limit >= milliseconds::zero()) {
            left = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now());
            if (left <= milliseconds::zero()) {
                return false;
            }
        }
    }
}

}  // namespace ovk
