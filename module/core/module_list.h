// SPDX-License-Identifier: GPL-2.0-only
// The hardware modules whose memory traffic can be observed, as the device tree describes them.
// Built when the module loads; afterwards only the enable flags change.
#pragma once

#include "platform/kernel.h"

// The ports of one larb or SMI common that a module uses. A group that the tree leaves incomplete
// is not stored: it stays zeros, and there is nothing to measure for it.
struct port_group {
    u32 id;  // number of the larb or SMI common
    u32 port_cnt;
    u32 *ports;  // port_cnt port ids; null: not stored
};

// One monitored module.
struct bw_module {
    const char *name;  // in the property storage of `node`, like `domain`
    u32 module_id;     // equal to the module's position in mlist
    u32 larb_cnt;
    u32 common_cnt;
    port_group *larb_ports;
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

// Who keeps the traffic generator's engines, which the module named "BIST" describes.
struct engine_keeper {
    // The module's node, and for how many engines there has to be room. False: no memory, or the
    // node is incomplete.
    bool (*prepare)(const device_node *node, u32 engines);
    // The engine of the module's larb number `slot`, once that has been stored.
    void (*add)(u32 slot, u32 id);
};

// Fills mlist, and hands the engines on. False: the tree is unusable or memory is short; what was
// allocated is left to release_module_list and to the keeper.
bool set_module_list(const engine_keeper &engines);

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
