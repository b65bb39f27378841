// SPDX-License-Identifier: GPL-2.0-only
#include "core/module_list.h"

#include "core/device_node.h"
#include "core/memory.h"

static constexpr size_t module_name_max = 15;
static constexpr size_t unlimited = ~size_t{0};

static constexpr const char *larb_property = "larb-id";
static constexpr const char *common_property = "common-id";
static constexpr const char *ports_property = "port-list";

enum child_kind : u32 { LARB_CHILD = 0, COMMON_CHILD = 1 };

u32 module_cnt;
bw_module *mlist;

u32 sum_id;
u32 ref_emi_id;
bool sum_known;
bool ref_emi_known;

u32 fake_eng_st_align;
u32 loop_mode_gen1;
u8 fake_eng_loop_mode;
u32 fake_eng_num;
u32 *fake_eng_list;
u32 *fake_eng_result;
u32 *fake_eng_loop;
static u32 engine_slots;  // for which there is room

bool has_name(const bw_module &module, const char *name) {
    return strncmp(module.name, name, unlimited) == 0;
}

static bool read_string(const device_node *node, const char *property, const char *&value) {
    return of_property_read_string(node, property, &value) >= 0;
}

// Calls `visit` with every node that may describe a port group: the children of a module, or their
// children where the module groups them once more.
template <class F>
static void for_each_port_group_node(const device_node *module_node, F visit) {
    if (!has_property(module_node, "mix-module")) {
        for_each_available_child(module_node, visit);
        return;
    }
    for_each_available_child(module_node, [&visit](const device_node *child) {
        for_each_available_child(child, visit);
    });
}

// Number of port groups of one kind below a module.
static u32 get_lc_num(const device_node *node, u32 kind) {
    const char *property = kind == LARB_CHILD ? larb_property : common_property;
    u32 count = 0;

    for_each_port_group_node(node, [property, &count](const device_node *group) {
        count += has_property(group, property) ? 1 : 0;
    });
    return count;
}

// False: the list is missing, there is no memory for it, or it changed between count and reading.
static bool read_port_list(const device_node *node, port_group &group) {
    const int count = of_property_count_elems_of_size(node, ports_property, sizeof(u32));

    if (count < 0) {
        return false;
    }
    const size_t ports = static_cast<size_t>(count);
    u32 *list = allocate_zeroed<u32>(ports);
    if (!list) {
        return false;
    }
    if (of_property_read_variable_u32_array(node, ports_property, list, ports, 0) < 0) {
        kfree(list);
        return false;
    }
    group = {static_cast<u32>(ports), list};
    return true;
}

// Stores what `child` says as port group j of module k. 1: stored; 0: the child is incomplete, or
// has come since the groups were counted, and the slot is still free.
static u32 get_port(const device_node *child, u32 k, u32 j) {
    bw_module &module = mlist[k];
    const bool larb = has_property(child, larb_property);
    u32 *ids = larb ? module.larb_ids : module.common_ids;
    port_group *groups = larb ? module.larb_ports : module.common_ports;

    printk(KERN_NOTICE "[OVK-BW] add node: %pOFn \033[K\n", static_cast<const void *>(child));
    if (!larb && !has_property(child, common_property)) {
        return 0;
    }
    if (!ids || !groups || j >= (larb ? module.larb_cnt : module.common_cnt)) {
        return 0;
    }
    if (!read_u32(child, larb ? larb_property : common_property, ids[j])) {
        return 0;
    }
    return read_port_list(child, groups[j]) ? 1 : 0;
}

static bool allocate_engines(u32 count) {
    fake_eng_list = allocate_zeroed<u32>(count);
    fake_eng_result = allocate_zeroed<u32>(count);
    fake_eng_loop = allocate_zeroed<u32>(count);
    engine_slots = count;
    return fake_eng_list && fake_eng_result && fake_eng_loop;
}

static void release_engines() {
    kfree(fake_eng_list);
    kfree(fake_eng_result);
    kfree(fake_eng_loop);
    fake_eng_list = nullptr;
    fake_eng_result = nullptr;
    fake_eng_loop = nullptr;
    fake_eng_num = 0;
    engine_slots = 0;
}

static bool set_up_traffic_generator(const device_node *node, const bw_module &module) {
    if (!read_u32(node, "alignment", fake_eng_st_align)) {
        return false;
    }
    loop_mode_gen1 = has_property(node, "loop-mode-gen1") ? 1 : 0;
    fake_eng_loop_mode = has_property(node, "hw-loop") ? 1 : 0;
    if (module.larb_cnt == 0 || allocate_engines(module.larb_cnt)) {
        return true;
    }
    release_engines();
    return false;
}

static bool allocate_groups(bw_module &module) {
    module.larb_ids = allocate_zeroed<u32>(module.larb_cnt);
    module.larb_ports = allocate_zeroed<port_group>(module.larb_cnt);
    module.common_ids = allocate_zeroed<u32>(module.common_cnt);
    module.common_ports = allocate_zeroed<port_group>(module.common_cnt);
    return module.larb_ids && module.larb_ports && module.common_ids && module.common_ports;
}

// Each larb of the traffic generator's module that was stored is an engine: a test of one that the
// tree leaves incomplete would write memory through a block that nobody described.
static void add_engine(u32 slot, u32 larb_id) {
    if (slot < engine_slots) {
        fake_eng_list[slot] = larb_id;
        fake_eng_num = slot < fake_eng_num ? fake_eng_num : slot + 1;
    }
}

static void fill_groups(const device_node *node, u32 k) {
    const bool mixed = has_property(node, "mix-module");
    const bool engines = !mixed && of_node_name_eq(node, "bw_bist");
    u32 larb_slot = 0;
    u32 common_slot = 0;

    for_each_port_group_node(node, [&](const device_node *group) {
        if (has_property(group, larb_property)) {
            if (get_port(group, k, larb_slot) == 1) {
                if (engines) {
                    add_engine(larb_slot, mlist[k].larb_ids[larb_slot]);
                }
                larb_slot++;
            }
        } else if (has_property(group, common_property)) {
            common_slot += get_port(group, k, common_slot);
        } else if (mixed) {
            printk(KERN_ERR "[OVK_BW] error to parse larb/common id\n");
        }
    });
}

static bool read_module(device_node *node, u32 k, bool &bist_seen) {
    bw_module &module = mlist[k];

    module.node = of_node_get(node);
    if (!read_string(node, "module-name", module.name) ||
        !read_string(node, "domain", module.domain) ||
        !read_u32(node, "module-id", module.module_id)) {
        return false;
    }
    module.enable = has_property(node, "init-on") ? 1 : 0;
    module.larb_cnt = get_lc_num(node, LARB_CHILD);
    module.common_cnt = get_lc_num(node, COMMON_CHILD);
    if (has_name(module, "BIST")) {
        if (bist_seen || !set_up_traffic_generator(node, module)) {
            return false;
        }
        bist_seen = true;
    }
    if (!allocate_groups(module)) {
        return false;
    }
    fill_groups(node, k);
    return true;
}

bool set_module_list() {
    u32 k = 0;
    bool bist_seen = false;

    module_cnt = count_nodes_of_type("bw");
    if (module_cnt == 0) {
        printk(KERN_ERR "[OVK_BW]no module list\n");
        return false;
    }
    mlist = allocate_zeroed<bw_module>(module_cnt);
    if (!mlist) {
        return false;
    }
    const bool complete = for_each_node_of_type("bw", [&k, &bist_seen](device_node *node) {
        return k < module_cnt && read_module(node, k++, bist_seen);
    });
    return complete && k == module_cnt;
}

static void release_ports(port_group *groups, u32 count) {
    for (u32 j = 0; groups && j < count; j++) {
        kfree(groups[j].ports);
    }
}

static void release_module(const bw_module &module) {
    release_ports(module.larb_ports, module.larb_cnt);
    release_ports(module.common_ports, module.common_cnt);
    kfree(module.larb_ids);
    kfree(module.larb_ports);
    kfree(module.common_ids);
    kfree(module.common_ports);
    of_node_put(module.node);
}

void release_module_list() {
    for (u32 k = 0; mlist && k < module_cnt; k++) {
        release_module(mlist[k]);
    }
    release_engines();
    kfree(mlist);
    mlist = nullptr;
    module_cnt = 0;
}

static bool is_named(const bw_module &module, const char *name) {
    return strncmp(module.name, name, module_name_max) == 0;
}

static const bw_module *find_module(const char *name) {
    for (u32 k = 0; k < module_cnt; k++) {
        if (is_named(mlist[k], name)) {
            return &mlist[k];
        }
    }
    return nullptr;
}

s32 get_module_id_by_name(const char *name, u32 &id) {
    const bw_module *module = find_module(name);

    if (!module) {
        return -1;
    }
    id = module->module_id;
    return 0;
}

// The id, or the entry's own position where the id is none.
static bool find_position(const char *name, u32 &position) {
    const bw_module *module = find_module(name);

    if (!module) {
        return false;
    }
    position =
        module->module_id < module_cnt ? module->module_id : static_cast<u32>(module - mlist);
    return true;
}

void find_reference_modules() {
    ref_emi_known = find_position("REF_EMI", ref_emi_id);
    sum_known = find_position("SUM", sum_id);
    if (!ref_emi_known || !sum_known) {
        printk(KERN_ERR "[OVK_BW]get_module_id_by_name fail\n");
    }
}
