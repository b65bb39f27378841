// SPDX-License-Identifier: GPL-2.0-only
// What all commands are given.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "ovk/base/failure.h"
#include "ovk/source/source.h"

namespace ovk {

struct context {
    std::ostream &out;  // what was asked for, and nothing else
    std::ostream &err;
    bool terminal;                           // whether somebody sees `err` as it comes
    std::string source_name = {};            // empty: this machine
    exit_status status = exit_status::good;  // of a command that comes to its end

    // Opens the source that the user chose. Throws failure.
    std::unique_ptr<source> open() const;

    // Of a recording that will be written, at once or when there is a reason to. Throws
    // failure(usage) when that can't be, or when it is the source itself.
    void check_output(const std::string &file) const;
};

}  // namespace ovk
