// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/background.h"

#include <algorithm>
#include <csignal>
#include <utility>

#include "ovk/base/interrupt.h"

namespace ovk::top {

namespace {

constexpr std::chrono::milliseconds pause_after_failure{500};

// Signals that somebody sends are the first thread's, which has the terminal.
class blocked_signals {
  public:
    blocked_signals() {
        sigset_t all;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) {
            sigdelset(&all, fault);
        }
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~blocked_signals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    blocked_signals(const blocked_signals &) = delete;
    blocked_signals &operator=(const blocked_signals &) = delete;

  private:
    sigset_t before_ = {};
};

}  // namespace

background::background(sampler &what, std::int64_t every_ns) : what_(what), every_(every_ns) {
    const blocked_signals from_the_thread;
    thread_ = std::thread([this] { work(); });
}

background::~background() {
    stopping_ = true;
    wake_.set();
    thread_.join();
}

void background::ask(task wanted, then what_follows) {
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        tasks_.emplace_back(std::move(wanted), what_follows);
    }
    wake_.set();
}

void background::pause(bool wanted) {
    paused_ = wanted;
    wake_.set();
}

std::vector<news> background::take_news() {
    const std::lock_guard<std::mutex> hold(mutex_);
    ready_.clear();
    return std::exchange(news_, {});
}

void background::tell(news what) {
    what.state = what_.state();
    const std::lock_guard<std::mutex> hold(mutex_);
    news_.push_back(std::move(what));
    ready_.set();
}

void background::work() {
    try {
        while (!stopping_) {
            step();
            wait_for_work();
        }
    } catch (const failure &) {
        // The first thread is interrupted as well, and tells.
    }
    ended_.set();
}

// A failure is told, and what comes next may be better; an interrupt is the end.
template <class action>
void background::attempt(action &&wanted, bool is_round) {
    try {
        tell(wanted());
    } catch (const std::exception &error) {
        const auto *known = dynamic_cast<const failure *>(&error);
        if (known != nullptr && known->status() == exit_status::interrupted) {
            throw;
        }
        tell({.failed = is_round, .message = error.what()});
        next_ = std::max(next_, clock::now() + pause_after_failure);
    }
}

void background::step() {
    while (const auto wanted = next_task()) {
        if (wanted->second == then::measure) {
            next_ = clock::now();
        }
        attempt([&] { return news{.message = wanted->first(what_)}; }, false);
    }
    if (!paused_ && clock::now() >= next_) {
        attempt([&] { return news{.round = take_round()}; }, true);
    }
}

std::optional<std::pair<background::task, background::then>> background::next_task() {
    const std::lock_guard<std::mutex> hold(mutex_);

    if (tasks_.empty()) {
        return std::nullopt;
    }
    auto first = std::move(tasks_.front());
    tasks_.erase(tasks_.begin());
    return first;
}

taken_round background::take_round() {
    const clock::time_point start = clock::now();

    next_ = start + every_;
    taken_round taken = what_.take(std::chrono::nanoseconds(start - last_end_).count());
    last_end_ = clock::now();
    return taken;
}

void background::wait_for_work() {
    const auto left = std::chrono::ceil<milliseconds>(next_ - clock::now());

    wait_for_input(wake_.descriptor(), paused_ ? for_ever : std::max(left, milliseconds(0)));
    wake_.clear();
}

}  // namespace ovk::top
