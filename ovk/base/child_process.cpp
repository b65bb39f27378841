// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/base/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "ovk/base/failure.h"
#include "ovk/base/write_all.h"

namespace ovk {

namespace {

constexpr milliseconds patience{2000};
constexpr std::size_t most_complaints = 600;
constexpr int exit_not_found = 127;

struct pipe_ends {
    std::array<int, 2> ends;

    pipe_ends() : ends{-1, -1} {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw failure(exit_status::unreachable, std::string("pipe: ") + std::strerror(errno));
        }
    }
    int reading() const { return ends[0]; }
    int writing() const { return ends[1]; }
};

[[noreturn]] void become(const std::vector<std::string> &words, int input, int output, int errors) {
    std::vector<char *> arguments;

    arguments.reserve(words.size() + 1);
    for (const std::string &each : words) {
        arguments.push_back(const_cast<char *>(each.c_str()));
    }
    arguments.push_back(nullptr);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    std::signal(SIGINT, SIG_IGN);
    execvp(arguments[0], arguments.data());
    const std::string reason = words[0] + ": " + std::strerror(errno) + "\n";
    static_cast<void>(write(STDERR_FILENO, reason.data(), reason.size()) < 0);
    _exit(exit_not_found);
}

}  // namespace

child_process::child_process(const std::vector<std::string> &words)
    : errors_(memfd_create("errors", MFD_CLOEXEC)) {
    const pipe_ends to;
    const pipe_ends from;

    process_ = fork();
    if (process_ == 0) {
        become(words, to.reading(), from.writing(), errors_);
    }
    close(to.reading());
    close(from.writing());
    input_ = to.writing();
    output_ = from.reading();
    if (process_ < 0) {
        throw failure(exit_status::unreachable, words[0] + ": " + std::strerror(errno));
    }
}

child_process::~child_process() {
    close(input_);
    close(output_);
    if (process_ > 0 && !ended_within(patience)) {
        kill(process_, SIGTERM);
        if (!ended_within(patience)) {
            kill(process_, SIGKILL);
        }
        waitpid(process_, nullptr, 0);
    }
    close(errors_);
}

bool child_process::ended_within(milliseconds limit) {
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, process_, 0));
    pollfd asked = {handle, POLLIN, 0};
    int ready = 0;

    do {
        ready = poll(&asked, 1, static_cast<int>(limit.count()));
    } while (ready < 0 && errno == EINTR);
    close(handle);
    return ready > 0 && waitpid(process_, nullptr, WNOHANG) == process_;
}

bool child_process::send(std::string_view bytes) {
    // Writing to one that has ended is an error like others; elsewhere the signal keeps its
    // meaning.
    const auto kept = std::signal(SIGPIPE, SIG_IGN);
    const bool sent = write_all(input_, bytes);
    std::signal(SIGPIPE, kept);
    return sent;
}

std::optional<std::string> child_process::receive(milliseconds limit) {
    std::array<char, 4096> part;
    ssize_t count = 0;

    if (!wait_for_input(output_, limit)) {
        return std::nullopt;
    }
    do {
        count = read(output_, part.data(), part.size());
    } while (count < 0 && errno == EINTR);
    return std::string(part.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
}

std::string child_process::complaints() const {
    std::array<char, most_complaints> part;
    const off_t size = lseek(errors_, 0, SEEK_END);
    const off_t start = std::max<off_t>(0, size - static_cast<off_t>(part.size()));
    const ssize_t count = pread(errors_, part.data(), part.size(), start);

    return {part.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

}  // namespace ovk
