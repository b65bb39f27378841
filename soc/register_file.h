// SPDX-License-Identifier: GPL-2.0-only
// The chip's registers as flat memory: 0x1C000000 to 0x1FFFFFFF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace soc {

class register_file {
  public:
    static constexpr std::uint64_t first = 0x1C000000;
    static constexpr std::uint64_t size = 0x04000000;

    register_file();                                         // private memory, all zero
    explicit register_file(const std::filesystem::path &f);  // a file shared with an emulator
    ~register_file();
    register_file(const register_file &) = delete;
    register_file &operator=(const register_file &) = delete;

    static constexpr bool contains(std::uint64_t address, std::size_t bytes) {
        return address >= first && bytes <= size && address - first <= size - bytes;
    }

    // Width in bits: 8, 16, 32 or 64. Little-endian. The address must be inside.
    std::uint64_t get(std::uint64_t address, unsigned width) const;
    void set(std::uint64_t address, unsigned width, std::uint64_t value);

    std::uint32_t get32(std::uint64_t address) const {
        return static_cast<std::uint32_t>(get(address, 32));
    }
    void set32(std::uint64_t address, std::uint32_t value) { set(address, 32, value); }

  private:
    unsigned char *bytes_;
};

}  // namespace soc
