// SPDX-License-Identifier: GPL-2.0-only
// A recording, carried out again: every operation gets the answer that it got then.
#include <utility>

#include "ovk/base/failure.h"
#include "ovk/source/openers.h"
#include "ovk/source/recording.h"

namespace ovk {

namespace {

class file_source : public source {
  public:
    file_source(std::string name, const std::string &file)
        : name_(std::move(name)), recorded_(file), now_ns_(header().boot_ns) {}

    std::string name() const override { return name_; }

    answer read(std::string_view attribute) override {
        return find({.attribute = std::string(attribute)});
    }

    answer write(std::string_view attribute, std::string_view text) override {
        return find(
            {.is_write = true, .attribute = std::string(attribute), .written = std::string(text)});
    }

    std::vector<std::string> log() override { return std::exchange(log_, {}); }
    bool has_log() override { return has_log_; }

    std::int64_t now() override { return now_ns_; }
    void wait_until(std::int64_t) override {}  // what comes next has its time

    std::vector<std::string> attributes() override { return header().attributes; }

    std::string fact(std::string_view what) override {
        const auto found = header().facts.find(std::string(what));
        return found == header().facts.end() ? "" : found->second;
    }

  private:
    const recording_header &header() const { return recorded_.header(); }

    // The next of that kind; what stands before it is passed over. Failing that, what an attribute
    // said at the beginning, as long as nothing was written.
    answer find(const operation &wanted) {
        const recording_reader::place start = recorded_.here();

        while (const auto found = recorded_.next()) {
            if (!found->is_mark && found->is_write == wanted.is_write &&
                found->attribute == wanted.attribute && found->written == wanted.written) {
                return take(*found);
            }
        }
        recorded_.go_back(start);
        if (const answer *setting = at_the_beginning(wanted)) {
            return *setting;
        }
        throw failure(exit_status::incomplete,
                      name_ + ": " + wanted.attribute + ": " +
                          (wanted.is_write ? "write '" + wanted.written + "'" : "read") +
                          ": not in the recording from here on; replay the command that was "
                          "recorded");
    }

    answer take(const operation &found) {
        now_ns_ = found.came.end_ns;
        has_log_ = found.log.has_value();
        if (found.log) {
            log_.insert(log_.end(), found.log->begin(), found.log->end());
        }
        written_ = written_ || found.is_write;
        return found.came;
    }

    const answer *at_the_beginning(const operation &wanted) const {
        if (wanted.is_write || written_) {
            return nullptr;
        }
        if (wanted.attribute == "ip_config") {
            return &header().ip_config;
        }
        const auto found = header().settings.find(wanted.attribute);
        return found == header().settings.end() ? nullptr : &found->second;
    }

    std::string name_;
    recording_reader recorded_;
    std::int64_t now_ns_;
    std::vector<std::string> log_;
    bool has_log_ = true;
    bool written_ = false;
};

}  // namespace

std::unique_ptr<source> open_recording(const std::string &name, const std::string &rest) {
    return std::make_unique<file_source>(name, rest);
}

}  // namespace ovk
