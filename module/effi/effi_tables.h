// SPDX-License-Identifier: GPL-2.0-only
// Efficiency configuration of each chip, by DRAM frequency.
#pragma once

#include "platform/kernel.h"

inline constexpr u32 effi_words = 8;
using effi_row = u32[effi_words];

struct effi_info {
    u8 freq_cnt;
    const u32 *idx2freq;    // MT/s of each table row, in no particular order
    const effi_row *table;  // freq_cnt rows
};

inline constexpr u32 zt410_effi_table_idx2freq[] = {4266};
inline constexpr effi_row zt410_lpddr4_effi_table[] = {
    {0x200A, 0x402D, 0x5446, 0x5654, 0x5656, 0x5656, 0x5656, 0x5656},
};
inline constexpr effi_info zt410_effi_info{1, zt410_effi_table_idx2freq, zt410_lpddr4_effi_table};

inline constexpr u32 zt420_effi_table_idx2freq[] = {2666, 3200, 2133};
inline constexpr effi_row zt420_effi_table[] = {
    {0x1F10, 0x382A, 0x473B, 0x4E44, 0x5148, 0x524B, 0x524C, 0x584D},
    {0x1A0D, 0x3125, 0x4136, 0x4A40, 0x4E46, 0x5049, 0x514B, 0x554C},
    {0x2512, 0x4836, 0x5B4B, 0x5C51, 0x5D54, 0x5D55, 0x5D57, 0x5D58},
};
inline constexpr effi_info zt420_effi_info{3, zt420_effi_table_idx2freq, zt420_effi_table};

inline constexpr u32 zt430_effi_table_idx2freq[] = {2666, 3200};
inline constexpr effi_row zt430_effi_table[] = {
    {0x2311, 0x4232, 0x5547, 0x594F, 0x5B53, 0x5C54, 0x5C55, 0x5B55},
    {0x1D0E, 0x3428, 0x453A, 0x4F45, 0x544C, 0x554F, 0x564F, 0x5650},
};
inline constexpr effi_info zt430_effi_info{2, zt430_effi_table_idx2freq, zt430_effi_table};

inline constexpr u32 zt440_effi_table_idx2freq[] = {3200};
inline constexpr effi_row zt440_effi_table[] = {
    {0x1E0F, 0x382A, 0x4B3E, 0x544A, 0x564D, 0x5750, 0x5851, 0x5A52},
};
inline constexpr effi_info zt440_effi_info{1, zt440_effi_table_idx2freq, zt440_effi_table};
