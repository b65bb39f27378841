// SPDX-License-Identifier: GPL-2.0-only
#include "core/config.h"

#include "base/device_node.h"
#include "base/memory.h"
#include "registers/emi.h"

static constexpr u32 bits_per_byte_shift = 3;

dramc_info _dramc_info;

u32 bus_width;
u32 dram_clock;
u32 dram_penalty;
u32 emi_clock;
u32 smi_clock;
u32 total_bw;

u32 emi_cnt;
u32 emi_port_cnt;
u32 smi_common_cnt;
u32 emi_effi_mon;

// The DRAM controller may answer with an error code, which is negative as a signed number.
static bool fetch_frequencies() {
    const u32 channels = ovk_dramc_get_support_channel_num();

    if (static_cast<s32>(channels) < 1) {
        return false;
    }
    kfree(_dramc_info.freq);
    _dramc_info.freq = allocate_zeroed<u32>(channels);
    if (!_dramc_info.freq) {
        return false;
    }
    for (u32 i = 0; i < channels; i++) {
        _dramc_info.freq[i] = ovk_dramc_get_freq(i);
    }
    _dramc_info.channel_cnt = channels;
    return true;
}

void ovk_bw_query_dramc() {
    if (!fetch_frequencies()) {
        printk(KERN_ERR "[OVK_BW]Failed to fetch dramc info\n");
    }
}

void ovk_bw_release_dramc() {
    kfree(_dramc_info.freq);
    _dramc_info = {};
}

// The slowest channel bounds what the DRAM can move. 0: no channel with a known frequency.
static u32 lowest_frequency() {
    u32 lowest = 0;

    for (u32 i = 0; i < _dramc_info.channel_cnt; i++) {
        const u32 freq = _dramc_info.freq[i];
        if (freq != 0 && (lowest == 0 || freq < lowest)) {
            lowest = freq;
        }
    }
    return lowest;
}

bool ovk_bw_setup_dram_config() {
    const node_ref node(of_find_node_by_name(nullptr, "dram_config"));

    if (!node || !read_u32(node.get(), "bus_width", bus_width) ||
        !read_u32(node.get(), "dram_clock", dram_clock)) {
        return false;
    }
    if (const u32 lowest = lowest_frequency()) {
        dram_clock = lowest;
    }
    printk(KERN_INFO "chip dram clock:[%u]\n", dram_clock);
    if (!read_u32(node.get(), "dram_penalty", dram_penalty) ||
        !read_u32(node.get(), "emi_clock", emi_clock) ||
        !read_u32(node.get(), "smi_clock", smi_clock)) {
        return false;
    }
    total_bw = (bus_width >> bits_per_byte_shift) * dram_clock;
    return true;
}

bool ovk_bw_setup_emi_arch_config() {
    const node_ref node(of_find_node_by_name(nullptr, "emi_arch"));

    if (!node || !read_u32(node.get(), "emi_cnt", emi_cnt) ||
        !read_u32(node.get(), "emi_port_cnt", emi_port_cnt) ||
        !read_u32(node.get(), "smi_common_cnt", smi_common_cnt)) {
        return false;
    }
    emi_port_cnt = emi_port_cnt < emi_ports_max ? emi_port_cnt : emi_ports_max;
    emi_effi_mon = has_property(node.get(), "emi-effi-monitor") ? 1 : 0;
    return true;
}
