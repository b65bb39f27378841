// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cstdarg>

namespace host {

// The variable arguments of a call, taken one after the other.
class argument_list {
  public:
    explicit argument_list(va_list arguments) { va_copy(arguments_, arguments); }
    ~argument_list() { va_end(arguments_); }
    argument_list(const argument_list &) = delete;
    argument_list &operator=(const argument_list &) = delete;

    template <typename type>
    type take() {
        // The analyser does not connect this with the constructor.
        return va_arg(arguments_, type);  // NOLINT(clang-analyzer-valist.Uninitialized)
    }

  private:
    va_list arguments_;
};

}  // namespace host
