// SPDX-License-Identifier: GPL-2.0-only
#include "base/device_node.h"

static constexpr int node_name_size = 15;

node_ref find_numbered_node(const char *prefix, u32 number) {
    char name[node_name_size];

    if (snprintf(name, sizeof(name), "%s%d", prefix, static_cast<int>(number)) >= node_name_size) {
        return node_ref();
    }
    return node_ref(of_find_node_by_name(nullptr, name));
}

u32 count_nodes_of_type(const char *type) {
    u32 count = 0;

    for_each_node_of_type(type, [&count](const device_node *) {
        count++;
        return true;
    });
    return count;
}

bool read_u32(const device_node *node, const char *property, u32 &value) {
    return of_property_read_variable_u32_array(node, property, &value, 1, 0) >= 0;
}

bool has_property(const device_node *node, const char *property) {
    return of_find_property(node, property, nullptr) != nullptr;
}
