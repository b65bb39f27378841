// SPDX-License-Identifier: GPL-2.0-only
// What limits leave of a load, in whole MB/s.
#pragma once

#include <cstdint>

namespace soc {

struct rates {
    std::uint64_t read = 0;
    std::uint64_t write = 0;

    std::uint64_t all() const { return read + write; }
};

// What the settings of one channel allow a port of it. 0 is no limit.
struct emi_port_limits {
    std::uint32_t bandwidth = 0;          // in 64ths of the channel's peak
    std::uint32_t read_outstanding = 0;   // transactions
    std::uint32_t write_outstanding = 0;  // transactions
    bool operator==(const emi_port_limits &) const = default;
};

// One transaction under way at any time moves this many MB/s.
inline constexpr std::uint64_t rate_of_a_transaction = 16;

// At most `most` in all. Both directions give way in proportion; reads are rounded down and writes
// get the rest.
rates within(rates wanted, std::uint64_t most);

// What one channel carries of a port's load: an even share in whole MB/s, and one MB/s more on each
// of the first channels until the remainder is used up. Reads are spread in that way too, and what
// is left of a channel's share is writes.
rates share_of_channel(rates whole, std::uint32_t channels, std::uint32_t channel);

// What a channel with this peak (MB/s, 0 if it is not known) lets through of a share.
rates within(rates share, const emi_port_limits &limits, std::uint64_t channel_peak);

}  // namespace soc
