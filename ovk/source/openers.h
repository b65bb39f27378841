// SPDX-License-Identifier: GPL-2.0-only
// The kinds of sources. Each function opens one from its whole name and what stands behind the
// colon; it throws failure.
#pragma once

#include <memory>
#include <string>

#include "ovk/source/source.h"

namespace ovk {

std::unique_ptr<source> open_sysfs(const std::string &name, const std::string &rest);
std::unique_ptr<source> open_ssh(const std::string &name, const std::string &rest);
std::unique_ptr<source> open_adb(const std::string &name, const std::string &rest);
std::unique_ptr<source> open_exec(const std::string &name, const std::string &rest);
std::unique_ptr<source> open_recording(const std::string &name, const std::string &rest);
std::unique_ptr<source> open_sim(const std::string &name, const std::string &rest);

}  // namespace ovk
