// SPDX-License-Identifier: GPL-2.0-only
#include "core/module_list.h"

#include "base/device_node.h"
#include "base/memory.h"

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
    group.port_cnt = static_cast<u32>(ports);
    group.ports = list;
    return true;
}

// Stores what `child` says as port group j of the module. 1: stored; 0: the child is incomplete, or
// has come since the groups were counted, and the slot is still free.
static u32 get_port(const device_node *child, bw_module &module, u32 j) {
    const bool larb = has_property(child, larb_property);
    port_group *groups = larb ? module.larb_ports : module.common_ports;

    printk(KERN_NOTICE "[OVK-BW] add node: %pOFn \033[K\n", static_cast<const void *>(child));
    if (!larb && !has_property(child, common_property)) {
        return 0;
    }
    if (!groups || j >= (larb ? module.larb_cnt : module.common_cnt)) {
        return 0;
    }
    if (!read_u32(child, larb ? larb_property : common_property, groups[j].id)) {
        return 0;
    }
    return read_port_list(child, groups[j]) ? 1 : 0;
}

static bool allocate_groups(bw_module &module) {
    module.larb_ports = allocate_zeroed<port_group>(module.larb_cnt);
    module.common_ports = allocate_zeroed<port_group>(module.common_cnt);
    return module.larb_ports && module.common_ports;
}

static void fill_groups(const device_node *node, bw_module &module, const engine_keeper &engines) {
    const bool mixed = has_property(node, "mix-module");
    const bool has_engines = !mixed && of_node_name_eq(node, "bw_bist");
    u32 larb_slot = 0;
    u32 common_slot = 0;

    for_each_port_group_node(node, [&](const device_node *group) {
        if (has_property(group, larb_property)) {
            if (get_port(group, module, larb_slot) == 1) {
                if (has_engines) {
                    engines.add(larb_slot, module.larb_ports[larb_slot].id);
                }
                larb_slot++;
            }
        } else if (has_property(group, common_property)) {
            common_slot += get_port(group, module, common_slot);
        } else if (mixed) {
            printk(KERN_ERR "[OVK_BW] error to parse larb/common id\n");
        }
    });
}

static bool read_module(device_node *node, bw_module &module, const engine_keeper &engines,
                        bool &bist_seen) {
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
        if (bist_seen || !engines.prepare(node, module.larb_cnt)) {
            return false;
        }
        bist_seen = true;
    }
    if (!allocate_groups(module)) {
        return false;
    }
    fill_groups(node, module, engines);
    return true;
}

bool set_module_list(const engine_keeper &engines) {
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
    const bool complete = for_each_node_of_type("bw", [&](device_node *node) {
        return k < module_cnt && read_module(node, mlist[k++], engines, bist_seen);
    });
    return complete && k == module_cnt;
}

static void release_groups(port_group *groups, u32 count) {
    for (u32 j = 0; groups && j < count; j++) {
        kfree(groups[j].ports);
    }
    kfree(groups);
}

static void release_module(const bw_module &module) {
    release_groups(module.larb_ports, module.larb_cnt);
    release_groups(module.common_ports, module.common_cnt);
    of_node_put(module.node);
}

void release_module_list() {
    for (u32 k = 0; mlist && k < module_cnt; k++) {
        release_module(mlist[k]);
    }
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
