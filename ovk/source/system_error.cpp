// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/system_error.h"

#include <cerrno>
#include <cstring>

namespace ovk {

namespace {

std::string names_of_attributes(source &where) {
    std::string names;

    for (const std::string &each : where.attributes()) {
        names += " " + each;
    }
    return names.empty() ? " none" : names;
}

std::string next_step(source &where, int error) {
    switch (error) {
        case ENOENT:
            return "there are:" + names_of_attributes(where);
        case EACCES:
            return "root may; others when the file's mode lets them";
        case EPERM:
            return "docs/attributes.md tells what the attribute takes";
        case ETIMEDOUT:
            return "a monitor did not finish; the kernel log tells which";
        default:
            return "the kernel log may tell more";
    }
}

}  // namespace

failure refused_access(source &where, std::string_view attribute, const std::string &operation,
                       int error) {
    const bool refused = operation == "write" && error == EPERM;

    return {refused ? exit_status::refused : exit_status::unreachable,
            where.name() + ": " + std::string(attribute) + ": " + operation + ": " +
                std::strerror(error) + "; " + next_step(where, error)};
}

}  // namespace ovk
