// SPDX-License-Identifier: GPL-2.0-only
#include "soc/register_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <system_error>

namespace soc {

namespace {

static_assert(std::endian::native == std::endian::little, "registers are little-endian");

[[noreturn]] void fail(const std::string &what) {
    throw std::system_error(errno, std::generic_category(), what);
}

unsigned char *map(int descriptor, int flags) {
    void *memory = mmap(nullptr, register_file::size, PROT_READ | PROT_WRITE, flags, descriptor, 0);
    if (memory == MAP_FAILED) {
        fail("the register file cannot be mapped");
    }
    return static_cast<unsigned char *>(memory);
}

class open_file {
  public:
    explicit open_file(const std::filesystem::path &file)
        : descriptor_(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (descriptor_ < 0) {
            fail(file.string());
        }
    }
    ~open_file() { close(descriptor_); }
    open_file(const open_file &) = delete;
    open_file &operator=(const open_file &) = delete;

    int descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

// The emulator may have created the file already; what it holds stays.
unsigned char *map_shared(const std::filesystem::path &file) {
    const open_file opened(file);
    struct stat about {};
    if (fstat(opened.descriptor(), &about) != 0) {
        fail(file.string());
    }
    const auto wanted = static_cast<off_t>(register_file::size);
    if (about.st_size < wanted && ftruncate(opened.descriptor(), wanted) != 0) {
        fail(file.string());
    }
    return map(opened.descriptor(), MAP_SHARED);
}

// Offset of an access that lies inside, in bytes.
std::size_t checked_offset(std::uint64_t address, unsigned width) {
    if (!std::has_single_bit(width) || width < 8 || width > 64) {
        throw std::invalid_argument("no register access of " + std::to_string(width) + " bits");
    }
    if (!register_file::contains(address, width / 8)) {
        throw std::out_of_range("no register at " + std::to_string(address));
    }
    return address - register_file::first;
}

// One access of the given type, not one per byte: the other side of a shared file must not see
// half a register.
template <typename type>
std::uint64_t read_as(const unsigned char *from) {
    type value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <typename type>
void write_as(unsigned char *to, std::uint64_t wide) {
    const auto value = static_cast<type>(wide);
    std::memcpy(to, &value, sizeof value);
}

}  // namespace

register_file::register_file() : bytes_(map(-1, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE)) {}

register_file::register_file(const std::filesystem::path &f) : bytes_(map_shared(f)) {}

register_file::~register_file() {
    munmap(bytes_, size);
}

std::uint64_t register_file::get(std::uint64_t address, unsigned width) const {
    const unsigned char *from = bytes_ + checked_offset(address, width);
    switch (width) {
        case 8:
            return read_as<std::uint8_t>(from);
        case 16:
            return read_as<std::uint16_t>(from);
        case 32:
            return read_as<std::uint32_t>(from);
        default:
            return read_as<std::uint64_t>(from);
    }
}

void register_file::set(std::uint64_t address, unsigned width, std::uint64_t value) {
    unsigned char *to = bytes_ + checked_offset(address, width);
    switch (width) {
        case 8:
            return write_as<std::uint8_t>(to, value);
        case 16:
            return write_as<std::uint16_t>(to, value);
        case 32:
            return write_as<std::uint32_t>(to, value);
        default:
            return write_as<std::uint64_t>(to, value);
    }
}

}  // namespace soc
