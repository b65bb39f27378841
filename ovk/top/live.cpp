// SPDX-License-Identifier: GPL-2.0-only
#include <chrono>
#include <ctime>

#include "ovk/base/interrupt.h"
#include "ovk/top/background.h"
#include "ovk/top/crash_guard.h"
#include "ovk/top/dashboard.h"
#include "ovk/top/descriptor_group.h"
#include "ovk/top/run.h"
#include "ovk/top/terminal.h"

namespace ovk::top {

namespace {

// The age of the figures goes on in such steps.
constexpr milliseconds tick{200};

std::int64_t steady_ns() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string name_of_recording() {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    char text[sizeof "ovk-top-20260101T000000Z.jsonl"];

    gmtime_r(&now, &parts);
    std::strftime(text, sizeof text, "ovk-top-%Y%m%dT%H%M%SZ.jsonl", &parts);
    return text;
}

std::string toggle_recording(sampler &what) {
    return what.state().recording.empty() ? what.start_recording(name_of_recording())
                                          : what.stop_recording();
}

background::task ports_task(const std::string &module) {
    return [module](sampler &what) {
        what.show_ports(module);
        return std::string();
    };
}

background::task time_task(std::uint32_t time_ms) {
    return [time_ms](sampler &what) { return what.set_time(time_ms); };
}

// False: to leave.
bool carry_out(const wish &wanted, background &work) {
    using then = background::then;

    switch (wanted.what) {
        case wish::nothing:
            break;
        case wish::quit:
            return false;
        case wish::pause:
            work.pause(true);
            break;
        case wish::go_on:
            work.pause(false);
            break;
        case wish::record:
            work.ask(toggle_recording, then::keep_time);
            break;
        case wish::mark:
            work.ask([text = wanted.text](sampler &what) { return what.mark(text); },
                     then::keep_time);
            break;
        case wish::set_time:
            work.ask(time_task(wanted.time_ms));
            break;
        case wish::open_ports:
        case wish::close_ports:
            work.ask(ports_task(wanted.text));
            break;
    }
    return true;
}

class live_view {
  public:
    live_view(source &from, const options &how)
        : how_(how), shown_(from.name(), how.every_ns), what_(from), work_(what_, how.every_ns) {
        crash_guard::wait_for(work_.ended());
        if (how.time_ms) {
            work_.ask(time_task(*how.time_ms));
        }
    }

    void run() {
        const descriptor_group both = {screen_.descriptor(), work_.ready()};

        while (take_keys() && !is_enough()) {
            screen_.draw(lay_out(shown_, screen_.size(), screen_.drawn_with(), steady_ns()));
            wait_for_input(both.descriptor(), tick);
            take_news();
            throw_if_gone();
        }
        interrupt();  // whatever is being waited for
    }

  private:
    bool is_enough() const { return how_.count != 0 && shown_.sweeps() >= how_.count; }

    bool take_keys() {
        for (int key = screen_.next_key(); key != key_none; key = screen_.next_key()) {
            if (!carry_out(shown_.press(key), work_)) {
                return false;
            }
        }
        return true;
    }

    void take_news() {
        for (const news &each : work_.take_news()) {
            if (each.failed) {
                screen_.forget();
            }
            shown_.add(each, steady_ns());
        }
    }

    void throw_if_gone() const {
        if (screen_.is_gone()) {
            throw failure(exit_status::interrupted, "the terminal is gone");
        }
    }

    const options &how_;
    dashboard shown_;
    sampler what_;
    background work_;
    terminal screen_;  // is left first
};

}  // namespace

void look_live(source &from, const options &how) {
    live_view(from, how).run();
}

}  // namespace ovk::top
