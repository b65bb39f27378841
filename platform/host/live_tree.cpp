// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/live_tree.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace host {

static constexpr std::size_t cell_size = 4;

static std::uint32_t cell(const std::string &value, std::size_t index) {
    std::uint32_t result = 0;
    for (std::size_t i = 0; i < cell_size; ++i) {
        result = result << 8 | static_cast<unsigned char>(value[index * cell_size + i]);
    }
    return result;
}

static bool holds_string(const std::string &value) {
    return value.find('\0') != std::string::npos;
}

live_tree::live_tree(const devicetree::flat_tree &tree, fault_plan &faults, oops_log &oopses)
    : faults_(faults), oopses_(oopses), tree_(tree) {
    for (const auto &source : tree.nodes()) {
        device_node &node = nodes_.emplace_back();
        node.source = source.get();
        node.position = nodes_.size() - 1;
        for (const devicetree::property &entry : source->properties) {
            node.properties.push_back({&entry});
        }
        by_source_[node.source] = &node;
    }
}

device_node *live_tree::of(const devicetree::node *source) {
    return source ? by_source_.at(source) : nullptr;
}

device_node *live_tree::get(device_node *node) {
    if (node) {
        std::scoped_lock lock(guard_);
        ++node->references;
    }
    return node;
}

void live_tree::put(device_node *node) {
    if (!node) {
        return;
    }
    std::scoped_lock lock(guard_);
    if (node->references == 0) {
        oopses_.add("of_node_put of " + node->source->path + " without a reference to it");
        return;
    }
    --node->references;
}

const devicetree::node *live_tree::usable(const device_node *node, const char *service) {
    if (!node) {
        return nullptr;
    }
    std::scoped_lock lock(guard_);
    if (node->references == 0) {
        oopses_.add(std::string(service) + " uses " + node->source->path +
                    " without a reference to it");
    }
    return node->source;
}

template <typename predicate>
device_node *live_tree::find_after(device_node *from, bool fails, predicate wanted) {
    const std::size_t first = from ? from->position + 1 : 0;
    device_node *found = nullptr;
    for (std::size_t i = first; i < nodes_.size() && !fails && !found; ++i) {
        found = wanted(*nodes_[i].source) ? get(&nodes_[i]) : nullptr;
    }
    put(from);
    return found;
}

device_node *live_tree::find_by_name(device_node *from, const char *name) {
    return find_after(from, faults_.strikes(fault_kind::node, name),
                      [name](const devicetree::node &node) { return node.name == name; });
}

device_node *live_tree::find_by_type(device_node *from, const char *type) {
    return find_after(from, faults_.strikes(fault_kind::node, type),
                      [type](const devicetree::node &node) {
                          const devicetree::property *entry = node.find("device_type");
                          return entry && holds_string(entry->value) &&
                                 std::strcmp(entry->value.c_str(), type) == 0;
                      });
}

device_node *live_tree::next_available_child(const device_node *parent, device_node *previous) {
    const devicetree::node *source = usable(parent, "of_get_next_available_child");
    if (!source) {
        return nullptr;
    }
    auto next = source->children.begin();
    if (previous) {
        next = std::find(next, source->children.end(), previous->source);
        if (next == source->children.end()) {
            oopses_.add("of_get_next_available_child: " + previous->source->path +
                        " is no child of " + source->path);
        } else {
            ++next;
        }
    }
    next = std::find_if(next, source->children.end(),
                        [](const devicetree::node *child) { return child->available(); });
    device_node *found = next == source->children.end() ? nullptr : get(of(*next));
    put(previous);
    return found;
}

device_node *live_tree::parse_phandle(const device_node *node, const char *property_name,
                                      int index) {
    const bool fails = faults_.strikes(fault_kind::node, property_name);
    const devicetree::node *source = usable(node, "of_parse_phandle");
    if (fails || !source || index < 0) {
        return nullptr;
    }
    const devicetree::property *entry = source->find(property_name);
    const std::size_t wanted = static_cast<std::size_t>(index);
    if (!entry || wanted >= entry->value.size() / cell_size) {
        return nullptr;
    }
    return get(of(tree_.by_phandle(cell(entry->value, wanted))));
}

bool live_tree::name_is(const device_node *node, const char *name) {
    const devicetree::node *source = usable(node, "of_node_name_eq");
    return source && source->name == name;
}

bool live_tree::is_available(const device_node *node) {
    const devicetree::node *source = usable(node, "of_device_is_available");
    return source && source->available();
}

property *live_tree::find_property(const device_node *node, const char *name, int *length) {
    const devicetree::node *source = usable(node, "of_find_property");
    const std::string owner = source ? source->name : std::string();
    if (faults_.strikes(fault_kind::presence, owner + ":" + name) || !source) {
        return nullptr;
    }
    const auto found =
        std::find_if(node->properties.begin(), node->properties.end(),
                     [name](const property &entry) { return entry.source->name == name; });
    if (found == node->properties.end()) {
        return nullptr;
    }
    if (length) {
        *length = static_cast<int>(found->source->value.size());
    }
    return const_cast<property *>(&*found);
}

bool live_tree::property_read_fails(const device_node *node, const char *name) {
    const std::string owner = node ? node->source->name : std::string();
    return faults_.strikes(fault_kind::property, owner + ":" + name);
}

const devicetree::property *live_tree::readable(const device_node *node, const char *name) {
    const bool fails = property_read_fails(node, name);
    const devicetree::node *source = usable(node, "of_property_read");
    return fails || !source ? nullptr : source->find(name);
}

int live_tree::read_string(const device_node *node, const char *name, const char **value) {
    const devicetree::property *entry = readable(node, name);
    if (!entry) {
        return -EINVAL;
    }
    if (entry->value.empty()) {
        return -ENODATA;
    }
    if (!holds_string(entry->value)) {
        return -EILSEQ;
    }
    *value = entry->value.c_str();
    return 0;
}

int live_tree::read_u32_array(const device_node *node, const char *name, std::uint32_t *values,
                              std::size_t min, std::size_t max) {
    const devicetree::property *entry = readable(node, name);
    if (!entry) {
        return -EINVAL;
    }
    const std::size_t size = entry->value.size();
    if (size < min * cell_size || (max != 0 && size > max * cell_size)) {
        return -EOVERFLOW;
    }
    const std::size_t count = max == 0 ? min : size / cell_size;
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = cell(entry->value, i);
    }
    return static_cast<int>(count);
}

int live_tree::count_elements(const device_node *node, const char *name, int size) {
    const devicetree::property *entry = readable(node, name);
    if (!entry) {
        return -EINVAL;
    }
    const int bytes = static_cast<int>(entry->value.size());
    return bytes % size == 0 ? bytes / size : -EINVAL;
}

std::vector<std::string> live_tree::holdings() const {
    std::scoped_lock lock(guard_);
    std::vector<std::string> lines;
    for (const device_node &node : nodes_) {
        if (node.references > 0) {
            lines.push_back("node references: " + std::to_string(node.references) + " to " +
                            node.source->path);
        }
    }
    return lines;
}

void live_tree::clear() {
    std::scoped_lock lock(guard_);
    for (device_node &node : nodes_) {
        node.references = 0;
    }
}

}  // namespace host
