// SPDX-License-Identifier: GPL-2.0-only
// A thread that takes rounds at their time, so that a slow or a hung source keeps nobody from
// looking, or from leaving.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>

#include "ovk/top/event_descriptor.h"
#include "ovk/top/sampler.h"

namespace ovk::top {

class background {
  public:
    using task = std::function<std::string(sampler &)>;
    enum class then { keep_time, measure };

    // From one round's start to the next.
    background(sampler &what, std::int64_t every_ns);
    // Waits for the end of what is being done; interrupt() before makes that short.
    ~background();
    background(const background &) = delete;
    background &operator=(const background &) = delete;

    // Carries the task out before the next round, which may follow at once. What it returns is the
    // message of the news that it makes.
    void ask(task wanted, then what_follows = then::measure);
    // No rounds until further notice.
    void pause(bool wanted);

    std::vector<news> take_news();
    // Readable while there are any, or the thread is over.
    int ready() const { return ready_.descriptor(); }
    // Readable once nothing is moved any more.
    int ended() const { return ended_.descriptor(); }

  private:
    using clock = std::chrono::steady_clock;

    void work();
    void step();
    template <class action>
    void attempt(action &&wanted, bool is_round);
    std::optional<std::pair<task, then>> next_task();
    taken_round take_round();
    void wait_for_work();
    void tell(news what);

    sampler &what_;
    const std::chrono::nanoseconds every_;
    event_descriptor wake_;
    event_descriptor ready_;
    event_descriptor ended_;
    std::atomic<bool> stopping_ = false;
    std::atomic<bool> paused_ = false;
    clock::time_point next_ = clock::now();
    clock::time_point last_end_ = clock::now();

    std::mutex mutex_;  // of what follows
    std::vector<std::pair<task, then>> tasks_;
    std::vector<news> news_;

    std::thread thread_;
};

}  // namespace ovk::top
