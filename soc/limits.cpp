// SPDX-License-Identifier: GPL-2.0-only
#include "soc/limits.h"

#include <algorithm>

namespace soc {

namespace {

constexpr std::uint64_t bandwidth_steps = 64;

std::uint64_t spread(std::uint64_t whole, std::uint32_t channels, std::uint32_t channel) {
    return whole / channels + (channel < whole % channels ? 1 : 0);
}

std::uint64_t within_transactions(std::uint64_t wanted, std::uint32_t transactions) {
    return transactions == 0 ? wanted : std::min(wanted, transactions * rate_of_a_transaction);
}

}  // namespace

rates within(rates wanted, std::uint64_t most) {
    if (wanted.all() <= most) {
        return wanted;
    }
    const std::uint64_t read = wanted.read * most / wanted.all();
    return {read, most - read};
}

rates share_of_channel(rates whole, std::uint32_t channels, std::uint32_t channel) {
    const std::uint64_t read = spread(whole.read, channels, channel);
    return {read, spread(whole.all(), channels, channel) - read};
}

rates within(rates share, const emi_port_limits &limits, std::uint64_t channel_peak) {
    const rates moving{within_transactions(share.read, limits.read_outstanding),
                       within_transactions(share.write, limits.write_outstanding)};
    if (limits.bandwidth == 0 || channel_peak == 0) {
        return moving;
    }
    return within(moving, limits.bandwidth * channel_peak / bandwidth_steps);
}

}  // namespace soc
