// SPDX-License-Identifier: GPL-2.0-only
#include "devicetree/flat_tree.h"

#include <libfdt.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace devicetree {

namespace {

constexpr std::size_t cell_bytes = 4;
constexpr std::size_t most_address_cells = 4;
// The root is the first level. The kernel drops what lies deeper.
constexpr int most_levels = 64;
// What the kernel assumes where no ancestor says how many cells an address or a size has.
constexpr std::uint32_t default_cells = 1;

std::uint32_t cell_at(const std::string &value, std::size_t index) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < cell_bytes; ++i) {
        number = number << 8 | static_cast<unsigned char>(value[index * cell_bytes + i]);
    }
    return number;
}

std::string big_endian(std::uint32_t number) {
    std::string value;
    for (int shift = 24; shift >= 0; shift -= 8) {
        value.push_back(static_cast<char>(number >> shift & 0xff));
    }
    return value;
}

// Takes numbers of one or more cells from the front of a property; the low 64 bits count.
class cell_reader {
  public:
    explicit cell_reader(const std::string &value) : value_(value) {}

    bool has(std::size_t cells) const { return (next_ + cells) * cell_bytes <= value_.size(); }

    std::uint64_t take(std::size_t cells) {
        std::uint64_t number = 0;
        for (; cells > 0; --cells) {
            number = number << 32 | cell_at(value_, next_++);
        }
        return number;
    }

  private:
    const std::string &value_;
    std::size_t next_ = 0;
};

// The cell count that holds for the children of `bus`: its own, or that of the nearest ancestor.
std::uint32_t cells_of_children(const node *bus, std::string_view property_name) {
    for (; bus != nullptr; bus = bus->parent) {
        if (const auto cells = bus->u32(property_name)) {
            return *cells;
        }
    }
    return default_cells;
}

std::uint32_t address_cells(const node *bus) {
    return cells_of_children(bus, "#address-cells");
}

std::uint32_t size_cells(const node *bus) {
    return cells_of_children(bus, "#size-cells");
}

// From the address space of the bus's children to that of the bus itself.
std::optional<std::uint64_t> through_bus(const node &bus, std::uint64_t address) {
    const property *ranges = bus.find("ranges");
    if (ranges == nullptr) {
        return std::nullopt;
    }
    if (ranges->value.empty()) {
        return address;
    }
    const std::size_t child_cells = address_cells(&bus);
    const std::size_t parent_cells = address_cells(bus.parent);
    const std::size_t extent_cells = size_cells(&bus);
    const std::size_t entry_cells = child_cells + parent_cells + extent_cells;
    cell_reader cells(ranges->value);
    while (entry_cells > 0 && cells.has(entry_cells)) {
        const std::uint64_t child = cells.take(child_cells);
        const std::uint64_t parent = cells.take(parent_cells);
        const std::uint64_t extent = cells.take(extent_cells);
        if (address >= child && address - child < extent) {
            return parent + (address - child);
        }
    }
    return std::nullopt;
}

std::optional<std::uint64_t> to_physical(const node *bus, std::uint64_t address) {
    for (; bus->parent != nullptr; bus = bus->parent) {
        const auto translated = through_bus(*bus, address);
        if (!translated) {
            return std::nullopt;
        }
        address = *translated;
    }
    return address;
}

// The list ends before the first entry that has no physical address, as a mapping of it would fail.
std::vector<range> physical_ranges(const node &owner) {
    std::vector<range> result;
    const property *reg = owner.find("reg");
    if (reg == nullptr || owner.parent == nullptr) {
        return result;
    }
    const std::size_t for_address = address_cells(owner.parent);
    const std::size_t for_size = size_cells(owner.parent);
    if (for_address == 0 || for_address > most_address_cells || for_size == 0) {
        return result;
    }
    cell_reader cells(reg->value);
    while (cells.has(for_address + for_size)) {
        const auto start = to_physical(owner.parent, cells.take(for_address));
        const std::uint64_t size = cells.take(for_size);
        if (!start) {
            break;
        }
        result.push_back({*start, size});
    }
    return result;
}

std::vector<property> properties_at(const void *tree, int offset) {
    std::vector<property> result;
    int entry;
    fdt_for_each_property_offset(entry, tree, offset) {
        const char *name = nullptr;
        int length = 0;
        const void *value = fdt_getprop_by_offset(tree, entry, &name, &length);
        if (value == nullptr) {
            throw std::runtime_error("device tree: a property cannot be read");
        }
        result.push_back({name, std::string(static_cast<const char *>(value),
                                            static_cast<std::size_t>(length))});
    }
    return result;
}

std::unique_ptr<node> read_node(const void *tree, int offset, node *parent) {
    int length = 0;
    const char *name = fdt_get_name(tree, offset, &length);
    if (name == nullptr) {
        throw std::runtime_error(std::string("device tree: ") + fdt_strerror(length));
    }
    auto result = std::make_unique<node>();
    result->full_name = name;
    result->name = result->full_name.substr(0, result->full_name.find('@'));
    result->properties = properties_at(tree, offset);
    result->parent = parent;
    if (parent == nullptr) {
        result->path = "/";
        return result;
    }
    result->path = (parent->parent == nullptr ? "" : parent->path) + "/" + result->full_name;
    parent->children.push_back(result.get());
    return result;
}

std::vector<std::unique_ptr<node>> read_nodes(const void *tree) {
    std::vector<std::unique_ptr<node>> result;
    std::vector<node *> ancestors;
    int depth = 0;
    for (int offset = 0; offset >= 0 && depth >= 0; offset = fdt_next_node(tree, offset, &depth)) {
        if (depth >= most_levels) {
            throw std::runtime_error("device tree: nodes are nested deeper than 64 levels");
        }
        ancestors.resize(static_cast<std::size_t>(depth));
        node *parent = ancestors.empty() ? nullptr : ancestors.back();
        result.push_back(read_node(tree, offset, parent));
        ancestors.push_back(result.back().get());
    }
    for (const auto &each : result) {
        each->reg = physical_ranges(*each);
    }
    return result;
}

std::string checked(std::string blob) {
    const int error = blob.size() < sizeof(fdt_header) ? -FDT_ERR_TRUNCATED
                                                       : fdt_check_full(blob.data(), blob.size());
    if (error != 0) {
        throw std::runtime_error(std::string("not a device tree blob: ") + fdt_strerror(error));
    }
    blob.resize(fdt_totalsize(blob.data()));
    return blob;
}

[[noreturn]] void fail(const std::string &what, int error_number) {
    throw std::system_error(error_number, std::generic_category(), what);
}

// A file in memory that a child process writes its output to.
class memory_file {
  public:
    explicit memory_file(const char *name) : descriptor_(memfd_create(name, MFD_CLOEXEC)) {
        if (descriptor_ < 0) {
            fail("memfd_create", errno);
        }
    }
    ~memory_file() { close(descriptor_); }
    memory_file(const memory_file &) = delete;
    memory_file &operator=(const memory_file &) = delete;

    int descriptor() const { return descriptor_; }

    std::string text() const {
        struct stat about {};
        if (fstat(descriptor_, &about) != 0) {
            fail("fstat", errno);
        }
        std::string result(static_cast<std::size_t>(about.st_size), '\0');
        const ssize_t got = pread(descriptor_, result.data(), result.size(), 0);
        if (got != about.st_size) {
            throw std::runtime_error("a compiler's output cannot be read");
        }
        return result;
    }

  private:
    int descriptor_;
};

// Child process's view of standard output and error.
class redirection {
  public:
    redirection(int output, int error) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, error, STDERR_FILENO);
    }
    ~redirection() { posix_spawn_file_actions_destroy(&actions_); }
    redirection(const redirection &) = delete;
    redirection &operator=(const redirection &) = delete;

    const posix_spawn_file_actions_t *actions() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_;
};

pid_t start_compiler(const std::filesystem::path &source, const redirection &where) {
    const std::string file = source.string();
    const char *const arguments[] = {"dtc", "-I", "dts", "-O", "dtb", "--", file.c_str(), nullptr};
    char *const *argv = const_cast<char *const *>(arguments);
    pid_t child = 0;
    int error = posix_spawnp(&child, "dtc", where.actions(), nullptr, argv, environ);
    if (error == ENOENT) {
        error = posix_spawn(&child, DEVICETREE_DTC, where.actions(), nullptr, argv, environ);
    }
    if (error != 0) {
        fail("the device tree compiler dtc cannot be started", error);
    }
    return child;
}

bool succeeded(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            fail("waitpid", errno);
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string compiled(const std::filesystem::path &source) {
    const memory_file output("dtb");
    const memory_file messages("dtc-messages");
    const redirection where(output.descriptor(), messages.descriptor());
    if (!succeeded(start_compiler(source, where))) {
        throw std::runtime_error("dtc: " + messages.text());
    }
    return output.text();
}

std::string contents(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    std::string result{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream) {
        throw std::runtime_error("the file cannot be read");
    }
    return result;
}

// A blob that has room for changes.
class editable_blob {
  public:
    editable_blob(const std::string &blob, std::size_t room) : bytes_(blob.size() + room, '\0') {
        check(fdt_open_into(blob.data(), bytes_.data(), static_cast<int>(bytes_.size())), "copy");
    }

    int node_at(const std::string &path) const {
        return check(fdt_path_offset(bytes_.data(), path.c_str()), path);
    }

    void set(const std::string &path, const std::string &name, const std::string &value) {
        check(fdt_setprop(bytes_.data(), node_at(path), name.c_str(), value.data(),
                          static_cast<int>(value.size())),
              path + ":" + name);
    }

    void remove_property(const std::string &path, const std::string &name) {
        check(fdt_delprop(bytes_.data(), node_at(path), name.c_str()), path + ":" + name);
    }

    void remove_node(const std::string &path) {
        check(fdt_del_node(bytes_.data(), node_at(path)), path);
    }

    std::string packed() {
        check(fdt_pack(bytes_.data()), "pack");
        bytes_.resize(fdt_totalsize(bytes_.data()));
        return std::move(bytes_);
    }

  private:
    static int check(int result, const std::string &what) {
        if (result < 0) {
            throw std::runtime_error("device tree: " + what + ": " + fdt_strerror(result));
        }
        return result;
    }

    std::string bytes_;
};

// Room that an edit needs beyond the value: a header, the alignment, the name.
std::size_t room_for(const std::string &name, const std::string &value) {
    constexpr std::size_t structure = 64;
    return structure + name.size() + value.size();
}

}  // namespace

const property *node::find(std::string_view property_name) const {
    const auto found = std::find_if(properties.begin(), properties.end(),
                                    [&](const property &p) { return p.name == property_name; });
    return found == properties.end() ? nullptr : &*found;
}

bool node::has(std::string_view property_name) const {
    return find(property_name) != nullptr;
}

bool node::available() const {
    const property *status = find("status");
    if (status == nullptr) {
        return true;
    }
    const std::string_view word(status->value.c_str());
    return word == "okay" || word == "ok";
}

std::optional<std::uint32_t> node::u32(std::string_view property_name) const {
    const property *found = find(property_name);
    if (found == nullptr || found->value.size() < cell_bytes) {
        return std::nullopt;
    }
    return cell_at(found->value, 0);
}

std::vector<std::uint32_t> node::u32_array(std::string_view property_name) const {
    std::vector<std::uint32_t> result;
    if (const property *found = find(property_name)) {
        for (std::size_t i = 0; (i + 1) * cell_bytes <= found->value.size(); ++i) {
            result.push_back(cell_at(found->value, i));
        }
    }
    return result;
}

std::optional<std::string> node::string(std::string_view property_name) const {
    const property *found = find(property_name);
    if (found == nullptr) {
        return std::nullopt;
    }
    const auto end = found->value.find('\0');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    return found->value.substr(0, end);
}

flat_tree::flat_tree(std::string blob)
    : blob_(checked(std::move(blob))), nodes_(read_nodes(blob_.data())) {}

flat_tree flat_tree::from_file(const std::filesystem::path &file) {
    try {
        return from_blob(file.extension() == ".dts" ? compiled(file) : contents(file));
    } catch (const std::runtime_error &error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
}

flat_tree flat_tree::from_blob(std::string blob) {
    return flat_tree(std::move(blob));
}

const node *flat_tree::by_name(std::string_view name) const {
    const auto found = std::find_if(nodes_.begin(), nodes_.end(),
                                    [&](const auto &each) { return each->name == name; });
    return found == nodes_.end() ? nullptr : found->get();
}

const node *flat_tree::by_phandle(std::uint32_t phandle) const {
    const auto found = std::find_if(nodes_.begin(), nodes_.end(), [&](const auto &each) {
        return each->u32("phandle") == phandle || each->u32("linux,phandle") == phandle;
    });
    return found == nodes_.end() ? nullptr : found->get();
}

flat_tree flat_tree::with_property(const std::string &path, const std::string &name,
                                   const std::string &raw_value) const {
    editable_blob edited(blob_, room_for(name, raw_value));
    edited.set(path, name, raw_value);
    return flat_tree(edited.packed());
}

flat_tree flat_tree::with_u32(const std::string &path, const std::string &name,
                              std::uint32_t value) const {
    return with_property(path, name, big_endian(value));
}

flat_tree flat_tree::without_property(const std::string &path, const std::string &name) const {
    editable_blob edited(blob_, room_for(name, {}));
    edited.remove_property(path, name);
    return flat_tree(edited.packed());
}

flat_tree flat_tree::without_node(const std::string &path) const {
    editable_blob edited(blob_, room_for({}, {}));
    edited.remove_node(path);
    return flat_tree(edited.packed());
}

}  // namespace devicetree
