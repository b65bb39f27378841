// SPDX-License-Identifier: GPL-2.0-only
// The integer arithmetic of the reports. Every division rounds towards zero, and one by nothing
// yields nothing: an idle counter, an unset clock or a time of 0 has no rate.
#pragma once

#include "platform/kernel.h"

constexpr u32 divide_or_zero(u32 dividend, u32 divisor) {
    return divisor != 0 ? dividend / divisor : 0;
}
constexpr u64 divide_or_zero(u64 dividend, u64 divisor) {
    return divisor != 0 ? dividend / divisor : 0;
}
constexpr u64 divide_or_zero(u64 dividend, u32 divisor) {
    return divide_or_zero(dividend, u64{divisor});
}
constexpr s64 divide_or_zero(s64 dividend, s64 divisor) {
    return divisor != 0 ? dividend / divisor : 0;
}

inline constexpr u64 us_per_ms = 1000;
inline constexpr u64 ns_per_us = 1000;

// A count of cycles of a clock (MHz) in ns; 0 without a clock. Keeps 32 bits.
constexpr u32 cycles_to_ns(u32 cycles, u32 clock) {
    return static_cast<u32>(divide_or_zero(cycles * ns_per_us, clock));
}

// Bytes per millisecond to MB/s (10^6 bytes per second).
constexpr u64 to_mb_per_second(u64 bytes_per_ms) {
    return bytes_per_ms * 1000 / 1'000'000;
}

// What data bandwidth costs on the bus at that efficiency (percent); 0 when it is not known.
constexpr u64 bus_bandwidth(u64 data, u64 efficiency) {
    return divide_or_zero(data * 100, efficiency);
}

// A count out of 1024 requests in percent.
constexpr u64 requests_to_percent(u64 count) {
    return (count * 100) >> 10;
}
