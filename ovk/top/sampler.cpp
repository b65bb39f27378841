// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/top/sampler.h"

#include <filesystem>
#include <utility>

#include "ovk/base/failure.h"

namespace ovk::top {

taken_round sampler::take(std::int64_t since_ns) {
    taken_round taken;

    if (last_end_ns_ != 0) {
        target().wait_until(last_end_ns_ + since_ns);
    }
    taken.total = parse_total(take_total(target()));
    if (!ports_of_.empty()) {
        take_ports(taken);
    }
    last_end_ns_ = taken.ports ? taken.ports->head.end_ns : taken.total.head.end_ns;
    return taken;
}

// A module without them, or a recording that has none, is no reason to show nothing at all.
void sampler::take_ports(taken_round &to) {
    to.ports_of = ports_of_;
    try {
        to.ports = take_ports_of_module();
    } catch (const failure &error) {
        if (error.status() == exit_status::interrupted ||
            error.status() == exit_status::unreachable) {
            throw;
        }
        to.no_ports = error.what();
        ports_of_.clear();
    }
}

// Between rounds, the selection is as others left it.
larb_report sampler::take_ports_of_module() {
    if (!selector_) {
        selector_.emplace(target());
    }
    try {
        larb_report report = selector_->take(selector_->id_of(ports_of_));
        selector_->put_back();
        return report;
    } catch (...) {
        selector_.reset();
        throw;
    }
}

std::string sampler::set_time(std::uint32_t time_ms) {
    set_total_time(target(), time_ms);
    state_.time_ms = time_ms;
    return "TIME " + std::to_string(time_ms) + " ms; it stays set";
}

std::string sampler::start_recording(const std::string &file) {
    if (std::filesystem::exists(file)) {
        throw failure(exit_status::usage, file + " is there already");
    }
    selector_.reset();
    writer_.emplace(file, describe_source(from_));
    recorder_.emplace(from_, *writer_);
    state_.recording = file;
    return "recording to " + file;
}

std::string sampler::stop_recording() {
    selector_.reset();
    recorder_.reset();
    writer_.reset();
    return "recorded " + std::exchange(state_.recording, "");
}

std::string sampler::mark(const std::string &text) {
    const std::int64_t now = from_.now();

    if (writer_) {
        writer_->add({.is_mark = true, .written = text, .came = {"", 0, now, now}});
    }
    return text + (writer_ ? ", also in the recording" : "");
}

const sampler_state &sampler::state() {
    state_.recorded_bytes = writer_ ? writer_->bytes() : 0;
    return state_;
}

}  // namespace ovk::top
