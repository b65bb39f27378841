// SPDX-License-Identifier: GPL-2.0-only
// Device-tree nodes and the properties that the driver reads from them.
#pragma once

#include "platform/kernel.h"

// A reference to a node, given back at the end of its life.
class node_ref {
  public:
    node_ref() = default;
    explicit node_ref(device_node *counted) : node_(counted) {}
    node_ref(node_ref &&other) noexcept : node_(other.release()) {}
    node_ref(const node_ref &) = delete;
    node_ref &operator=(const node_ref &) = delete;
    ~node_ref() { of_node_put(node_); }

    explicit operator bool() const { return node_ != nullptr; }
    device_node *get() const { return node_; }

    device_node *release() {
        device_node *counted = node_;
        node_ = nullptr;
        return counted;
    }

    // Moves on to what `find` makes of the present node; the find functions of the device tree
    // take over the reference they start from.
    template <class F>
    bool advance(F find) {
        node_ = find(release());
        return node_ != nullptr;
    }

  private:
    device_node *node_ = nullptr;
};

// The node called PREFIX and NUMBER, for instance "larb" and 4, anywhere in the tree. A name of
// more than 14 characters is not found.
node_ref find_numbered_node(const char *prefix, u32 number);

// Calls `visit` with every available child of `parent`, in order.
template <class F>
void for_each_available_child(const device_node *parent, F visit) {
    node_ref child;
    while (child.advance([parent](device_node *previous) {
        return of_get_next_available_child(parent, previous);
    })) {
        visit(child.get());
    }
}

// Calls `visit` with every node of that device type, in the tree's order, until it returns false.
// False: `visit` ended the walk.
template <class F>
bool for_each_node_of_type(const char *type, F visit) {
    node_ref node;
    while (node.advance(
        [type](device_node *previous) { return of_find_node_by_type(previous, type); })) {
        if (!visit(node.get())) {
            return false;
        }
    }
    return true;
}

// Number of nodes of that device type.
u32 count_nodes_of_type(const char *type);

// Reads a property of one cell. False: missing or too short, and `value` is as it was.
bool read_u32(const device_node *node, const char *property, u32 &value);

bool has_property(const device_node *node, const char *property);
