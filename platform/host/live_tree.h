// SPDX-License-Identifier: GPL-2.0-only
// The device tree as the kernel keeps it: the flattened tree's nodes with reference counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "devicetree/flat_tree.h"
#include "platform/host/collector.h"
#include "platform/host/fault_plan.h"

struct property {
    const devicetree::property *source;
};

struct device_node {
    const devicetree::node *source;
    std::size_t position;  // in the search order
    std::deque<property> properties;
    std::uint64_t references = 0;  // that the module holds
};

namespace host {

class live_tree {
  public:
    live_tree(const devicetree::flat_tree &tree, fault_plan &faults, oops_log &oopses);

    // The next node after `from` (null: of all nodes) that answers; takes `from`'s reference and
    // gives one. Null when there is none.
    device_node *find_by_name(device_node *from, const char *name);
    device_node *find_by_type(device_node *from, const char *type);
    device_node *next_available_child(const device_node *parent, device_node *previous);
    device_node *parse_phandle(const device_node *node, const char *property_name, int index);
    device_node *get(device_node *node);
    void put(device_node *node);

    bool is_available(const device_node *node);
    bool name_is(const device_node *node, const char *name);

    // 0 or a count on success, negative error codes of the kernel otherwise.
    property *find_property(const device_node *node, const char *name, int *length);
    int read_string(const device_node *node, const char *name, const char **value);
    int read_u32_array(const device_node *node, const char *name, std::uint32_t *values,
                       std::size_t min, std::size_t max);
    int count_elements(const device_node *node, const char *name, int size);

    // What the tree says of the node. Use of a node that the module holds no reference to is an
    // oops; null for a null node.
    const devicetree::node *usable(const device_node *node, const char *service);

    std::vector<std::string> holdings() const;
    void clear();  // forgets the references that the module holds

  private:
    template <typename predicate>
    device_node *find_after(device_node *from, bool fails, predicate wanted);
    device_node *of(const devicetree::node *source);
    bool property_read_fails(const device_node *node, const char *name);
    const devicetree::property *readable(const device_node *node, const char *name);

    fault_plan &faults_;
    oops_log &oopses_;
    const devicetree::flat_tree &tree_;
    mutable std::mutex guard_;  // of the reference counts; nothing else changes
    std::deque<device_node> nodes_;
    std::map<const devicetree::node *, device_node *> by_source_;
};

}  // namespace host
