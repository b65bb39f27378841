// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <iterator>

#include "ovk/base/failure.h"
#include "ovk/source/openers.h"

namespace ovk {

namespace {

struct source_scheme {
    const char *scheme;
    std::unique_ptr<source> (*open)(const std::string &name, const std::string &rest);
    bool needs_rest;
};

constexpr source_scheme schemes[] = {
    {"sysfs", open_sysfs, false}, {"ssh", open_ssh, true},        {"adb", open_adb, false},
    {"exec", open_exec, true},    {"file", open_recording, true},
#ifdef OVK_HAS_SIMULATOR
    {"sim", open_sim, true},
#endif
};

}  // namespace

std::unique_ptr<source> open_source(const std::string &name) {
    const std::size_t colon = name.find(':');
    const std::string scheme = name.substr(0, colon);
    const std::string rest = colon == std::string::npos ? "" : name.substr(colon + 1);
    const auto *found =
        std::find_if(std::begin(schemes), std::end(schemes), [&](const source_scheme &each) {
            return scheme == each.scheme && (!rest.empty() || !each.needs_rest);
        });

    if (found == std::end(schemes)) {
        throw failure(exit_status::usage,
                      "'" + name + "' is no source here; see ovk --help for their names");
    }
    return found->open(name, rest);
}

}  // namespace ovk
