// SPDX-License-Identifier: GPL-2.0-only
// The hardware modules whose memory traffic can be observed, as the device tree describes them.
// Built when the module loads; afterwards only the enable flags change.
#pragma once

#include "platform/kernel.h"

// The ports of one larb or SMI common that a module uses. A group that the tree leaves incomplete
// is not stored: it stays zeros, and there is nothing to measure for it.
struct port_group {
    u32 port_cnt;
    u32 *ports;  // port_cnt port ids; null: not stored
};

// One monitored module. Element j of an id array and of its port-group array belong together.
struct bw_module {
    const char *name;  // in the property storage of `node`, like `domain`
    u32 module_id;     // equal to the module's position in mlist
    u32 larb_cnt;
    u32 common_cnt;
    u32 *larb_ids;
    port_group *larb_ports;
    u32 *common_ids;
    port_group *common_ports;
    const char *domain;
    u8 enable;          // 1: takes part in the total report
    device_node *node;  // counted reference that keeps the strings alive
};

extern u32 module_cnt;
extern bw_module *mlist;

// Positions of the entries that stand for all modules together and for the reference counter. Each
// is 0 and not `known` when the list has no such entry. Where an entry's module id is no position
// in the list, its own position stands in.
extern u32 sum_id;
extern u32 ref_emi_id;
extern bool sum_known;
extern bool ref_emi_known;

// Set-up of the traffic generator, from the module named "BIST".
extern u32 fake_eng_st_align;  // bits by which a start address is shifted right
extern u32 loop_mode_gen1;     // 1: loop bit in the older of its two registers
extern u8 fake_eng_loop_mode;  // 1: loops run in hardware
extern u32 fake_eng_num;       // engines
extern u32 *fake_eng_list;     // engine ids
extern u32 *fake_eng_result;   // last result of each engine
extern u32 *fake_eng_loop;     // loop setting of each engine

// Fills mlist and the traffic generator's set-up. False: the tree is unusable or memory is short;
// what was allocated is left to release_module_list.
bool set_module_list();

void release_module_list();

// The module_id of the first module of that name (at most 15 characters count). 0, or -1 when
// there is none; `id` is then as it was.
s32 get_module_id_by_name(const char *name, u32 &id);

// Finds the "SUM" and "REF_EMI" entries; logs when one is missing.
void find_reference_modules();

// Names are compared to the end, terminator included.
bool has_name(const bw_module &module, const char *name);

inline bool is_stored(const port_group &group) {
    return group.ports != nullptr;
}
inline bool is_sum(u32 position) {
    return sum_known && position == sum_id;
}
inline bool is_ref_emi(u32 position) {
    return ref_emi_known && position == ref_emi_id;
}
