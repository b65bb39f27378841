// SPDX-License-Identifier: GPL-2.0-only
// Kernel services: device tree.
#include "platform/host/state.h"

static host::live_tree &tree() {
    return host::current_machine().tree;
}

struct device_node *KERNEL_SERVICE(of_find_node_by_name)(struct device_node *from,
                                                         const char *name) {
    return tree().find_by_name(from, name);
}

struct device_node *KERNEL_SERVICE(of_find_node_by_type)(struct device_node *from,
                                                         const char *type) {
    return tree().find_by_type(from, type);
}

struct device_node *KERNEL_SERVICE(of_get_next_available_child)(const struct device_node *node,
                                                                struct device_node *prev) {
    return tree().next_available_child(node, prev);
}

struct device_node *KERNEL_SERVICE(of_parse_phandle)(const struct device_node *node,
                                                     const char *property, int index) {
    return tree().parse_phandle(node, property, index);
}

struct device_node *KERNEL_SERVICE(of_node_get)(struct device_node *node) {
    return tree().get(node);
}

void KERNEL_SERVICE(of_node_put)(struct device_node *node) {
    tree().put(node);
}

bool KERNEL_SERVICE(of_device_is_available)(const struct device_node *node) {
    return tree().is_available(node);
}

bool KERNEL_SERVICE(of_node_name_eq)(const struct device_node *node, const char *name) {
    return tree().name_is(node, name);
}

struct property *KERNEL_SERVICE(of_find_property)(const struct device_node *node, const char *name,
                                                  int *length) {
    return tree().find_property(node, name, length);
}

int KERNEL_SERVICE(of_property_read_string)(const struct device_node *node, const char *name,
                                            const char **value) {
    return tree().read_string(node, name, value);
}

int KERNEL_SERVICE(of_property_read_variable_u32_array)(const struct device_node *node,
                                                        const char *name, u32 *values, size_t min,
                                                        size_t max) {
    return tree().read_u32_array(node, name, values, min, max);
}

int KERNEL_SERVICE(of_property_count_elems_of_size)(const struct device_node *node,
                                                    const char *name, int size) {
    return tree().count_elements(node, name, size);
}
