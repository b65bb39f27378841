// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string_view>

namespace ovk {

// Writes all of it, in as many goes as it takes. False: not all of it could be; errno tells why.
bool write_all(int descriptor, std::string_view bytes);

}  // namespace ovk
