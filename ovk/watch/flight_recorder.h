// SPDX-License-Identifier: GPL-2.0-only
// The last sweeps, for the moment in which somebody wants to know what came before.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "ovk/source/recorder.h"

namespace ovk {

class flight_recorder : public operation_sink {
  public:
    explicit flight_recorder(std::size_t sweeps) : sweeps_(sweeps) {}

    // What is told from here on belongs to a new sweep; the oldest one goes when there are too
    // many.
    void begin_sweep();
    void add(const operation &done) override { kept_.back().push_back(done); }

    // Writes a recording of what is kept. Throws failure(usage) when the file can't be written.
    void save(const std::string &file, const recording_header &header) const;

  private:
    std::size_t sweeps_;
    std::deque<std::vector<operation>> kept_ = {{}};
};

}  // namespace ovk
