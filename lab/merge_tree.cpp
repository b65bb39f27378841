// SPDX-License-Identifier: GPL-2.0-only
// Writes a device tree that holds an emulated machine's own nodes and, after them, the chip's.
#include <libfdt.h>

#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "devicetree/flat_tree.h"

namespace {

using devicetree::flat_tree;
using devicetree::node;
using devicetree::property;

constexpr int exit_usage = 2;
constexpr std::size_t header_bytes = 1024;

// A tree written from its start to its end: nodes keep their order.
class tree_writer {
  public:
    explicit tree_writer(std::size_t capacity) : blob_(capacity, '\0') {
        check(fdt_create(blob_.data(), static_cast<int>(blob_.size())));
        check(fdt_finish_reservemap(blob_.data()));
    }

    void begin(const std::string &name) { check(fdt_begin_node(blob_.data(), name.c_str())); }
    void end() { check(fdt_end_node(blob_.data())); }

    void add_properties(const node &from) {
        for (const property &each : from.properties) {
            check(fdt_property(blob_.data(), each.name.c_str(), each.value.data(),
                               static_cast<int>(each.value.size())));
        }
    }

    void add_children(const node &from) {
        for (const node *child : from.children) {
            begin(child->full_name);
            add_properties(*child);
            add_children(*child);
            end();
        }
    }

    std::string finish() {
        check(fdt_finish(blob_.data()));
        blob_.resize(fdt_totalsize(blob_.data()));
        return blob_;
    }

  private:
    static void check(int result) {
        if (result < 0) {
            throw std::runtime_error(std::string("the tree cannot be written: ") +
                                     fdt_strerror(result));
        }
    }

    std::string blob_;
};

const node &root_of(const flat_tree &tree) {
    return *tree.nodes().front();
}

// References and addresses of one tree keep their meaning in the other.
void expect_compatible(const flat_tree &machine, const flat_tree &chip) {
    for (const char *cells : {"#address-cells", "#size-cells"}) {
        if (root_of(machine).u32(cells) != root_of(chip).u32(cells)) {
            throw std::runtime_error(std::string("machine and chip differ in ") + cells);
        }
    }
    for (const auto &each : chip.nodes()) {
        const auto phandle = each->u32("phandle");
        if (phandle && machine.by_phandle(*phandle) != nullptr) {
            throw std::runtime_error(each->path + ": its phandle is the machine's already");
        }
    }
    for (const node *child : root_of(chip).children) {
        for (const node *other : root_of(machine).children) {
            if (child->full_name == other->full_name) {
                throw std::runtime_error(child->path + ": the machine has it already");
            }
        }
    }
}

std::string merge(const flat_tree &machine, const flat_tree &chip) {
    tree_writer writer(machine.blob().size() + chip.blob().size() + header_bytes);

    expect_compatible(machine, chip);
    writer.begin("");
    writer.add_properties(root_of(machine));
    writer.add_children(root_of(machine));
    writer.add_children(root_of(chip));
    writer.end();
    return writer.finish();
}

void write_file(const std::string &name, const std::string &content) {
    std::ofstream file(name, std::ios::binary);

    file << content << std::flush;
    if (!file) {
        throw std::runtime_error(name + ": cannot be written");
    }
}

}  // namespace

int main(int argc, char **argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);

    if (arguments.size() != 3) {
        std::cerr << "usage: ovk-merge-tree MACHINE CHIP OUT\n";
        return exit_usage;
    }
    try {
        write_file(arguments[2],
                   merge(flat_tree::from_file(arguments[0]), flat_tree::from_file(arguments[1])));
    } catch (const std::exception &error) {
        std::cerr << "error: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
