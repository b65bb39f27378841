// SPDX-License-Identifier: GPL-2.0-only
// A flattened device tree, read with libfdt into plain records. Both the host kernel and the chip
// model start from it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devicetree {

struct property {
    std::string name;
    std::string value;  // raw bytes, big-endian cells
};

struct range {
    std::uint64_t start;  // physical address, translated through the ranges of the parents
    std::uint64_t size;
};

struct node {
    std::string name;       // without the unit address; "" for the root
    std::string full_name;  // with it
    std::string path;       // "/soc/larb4@1c084000"
    const node *parent = nullptr;
    std::vector<const node *> children;
    std::vector<property> properties;
    std::vector<range> reg;

    const property *find(std::string_view property_name) const;
    bool has(std::string_view property_name) const;
    bool available() const;  // no status, or "okay" or "ok"
    // The first cell; nothing if the property is missing or shorter than a cell.
    std::optional<std::uint32_t> u32(std::string_view property_name) const;
    std::vector<std::uint32_t> u32_array(std::string_view property_name) const;
    std::optional<std::string> string(std::string_view property_name) const;
};

class flat_tree {
  public:
    // Throws std::runtime_error that says what is wrong with the file.
    static flat_tree from_file(const std::filesystem::path &file);  // .dts (through dtc) or .dtb
    static flat_tree from_blob(std::string blob);

    flat_tree(flat_tree &&) = default;
    flat_tree &operator=(flat_tree &&) = default;

    // All nodes in document order, which is the kernel's search order. The root comes first.
    const std::vector<std::unique_ptr<node>> &nodes() const { return nodes_; }

    const node *by_name(std::string_view name) const;  // the first of that name
    const node *by_phandle(std::uint32_t phandle) const;

    const std::string &blob() const { return blob_; }

    // A copy in which the property of the node at `path` has the given value, or is gone. Tests
    // and tools use it to vary a tree.
    flat_tree with_property(const std::string &path, const std::string &name,
                            const std::string &raw_value) const;
    flat_tree with_u32(const std::string &path, const std::string &name, std::uint32_t value) const;
    flat_tree without_property(const std::string &path, const std::string &name) const;
    flat_tree without_node(const std::string &path) const;

  private:
    explicit flat_tree(std::string blob);

    std::string blob_;
    std::vector<std::unique_ptr<node>> nodes_;
};

}  // namespace devicetree
