// SPDX-License-Identifier: GPL-2.0-only
// A source whose operations are written down as they are carried out.
#pragma once

#include "ovk/source/recording.h"

namespace ovk {

// Reads what a recording's header has.
recording_header describe_source(source &from);

class recorder : public source {
  public:
    recorder(source &from, operation_sink &to) : from_(from), to_(to) {}

    std::string name() const override { return from_.name(); }
    answer read(std::string_view attribute) override;
    answer write(std::string_view attribute, std::string_view text) override;
    std::vector<std::string> log() override;
    bool has_log() override { return from_.has_log(); }
    std::int64_t now() override { return from_.now(); }
    void wait_until(std::int64_t time_ns) override { from_.wait_until(time_ns); }
    bool mark_trace(const std::vector<std::string> &lines) override {
        return from_.mark_trace(lines);
    }
    std::vector<std::string> attributes() override { return from_.attributes(); }
    std::string fact(std::string_view what) override { return from_.fact(what); }

  private:
    answer note(operation done);

    source &from_;
    operation_sink &to_;
    std::vector<std::string> log_;  // what nobody has asked for yet
};

}  // namespace ovk
