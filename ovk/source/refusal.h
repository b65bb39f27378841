// SPDX-License-Identifier: GPL-2.0-only
// A write succeeds also when the module did not take it: what it says then, or what it shows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ovk/source/source.h"

namespace ovk {

// The first message of the module that something was not taken or could not be done; empty: none.
std::string complaint_in(const std::vector<std::string> &log);

enum class verdict { taken, refused, unknown };

struct judgement {
    verdict found;
    std::string why;  // of a refusal
};

// Of a write that succeeded, by the log since then and by reading back where an attribute shows
// the setting. Takes the log.
judgement judge_write(source &where, std::string_view attribute, std::string_view text);

}  // namespace ovk
