// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/base/write_all.h"

#include <unistd.h>

#include <cerrno>

namespace ovk {

bool write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace ovk
