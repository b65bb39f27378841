// SPDX-License-Identifier: GPL-2.0-only
// Which requests of the module fail although they need not.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

#include "platform/host/records.h"

namespace host {

class fault_plan {
  public:
    // Counts a request of this kind and tells whether it is to fail.
    bool strikes(fault_kind kind, std::string_view name);

    void fail_nth(fault_kind kind, std::uint64_t n);
    void fail_named(fault_kind kind, std::string name);
    void clear();
    std::uint64_t requests(fault_kind kind) const;

  private:
    struct plan {
        std::uint64_t requests = 0;
        std::set<std::uint64_t> numbers;  // counted like `requests`
        std::set<std::string, std::less<>> names;
    };
    static constexpr std::size_t kinds = static_cast<std::size_t>(fault_kind::wait) + 1;

    mutable std::mutex guard_;
    std::array<plan, kinds> plans_;
};

}  // namespace host
