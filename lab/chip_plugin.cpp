// SPDX-License-Identifier: GPL-2.0-only
// The chip, inside the emulator: the guest's registers are a file that the chip maps as well.
// Before an instruction of a kernel module loads or stores, what time has brought about is put
// there; every access to the registers is told to the chip right after it.
//
// Arguments: tree=FILE (of the chip), registers=FILE (64 MiB, the guest's memory from 0x1c000000),
// complaints=FILE (accesses that the chip does not have, a line each) and optionally
// scenario=FILE and runs=FILE (of the bandwidth monitors, a line each: block, mode, selection,
// start and end).
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>

#include "devicetree/flat_tree.h"
#include "lab/emulator_api.h"
#include "soc/chip.h"
#include "soc/register_file.h"
#include "soc/scenario.h"

namespace {

using clock_type = std::chrono::steady_clock;
using arguments = std::map<std::string, std::string>;

constexpr unsigned bits_per_byte = 8;
constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

std::ofstream opened(const std::string &file) {
    std::ofstream stream(file);
    if (!stream) {
        throw std::runtime_error(file + ": cannot be written");
    }
    return stream;
}

// The chip in real time. Accesses come from the threads of all processors.
class attached_chip {
  public:
    explicit attached_chip(const arguments &given)
        : registers_(given.at("registers")),
          chip_(devicetree::flat_tree::from_file(given.at("tree")), registers_),
          complaints_(opened(given.at("complaints"))) {
        const auto scenario = given.find("scenario");
        if (scenario != given.end()) {
            chip_.set_scenario(soc::scenario::from_file(scenario->second));
        }
        const auto runs = given.find("runs");
        if (runs != given.end()) {
            runs_ = opened(runs->second);
        }
    }

    // What the chip does by itself has to be in its registers before someone looks: a load yields
    // what stands there before the chip hears of it.
    void be_up_to_date() {
        const std::uint64_t now = now_ns();
        if (now >= next_event_) {
            const std::lock_guard guard(lock_);
            chip_.advance(now);
            next_event_ = chip_.next_event().value_or(never);
        }
    }

    void accessed(std::uint64_t address, unsigned width, bool is_store) {
        const std::lock_guard guard(lock_);
        chip_.advance(now_ns());
        if (is_store) {
            if (const auto run = chip_.stored(address, width)) {
                runs_ << run->block << ' ' << run->mode << ' ' << run->selection << ' '
                      << run->start << ' ' << run->end << std::endl;
            }
        } else {
            chip_.loaded(address, width);
        }
        for (const std::string &line : chip_.take_complaints()) {
            complaints_ << line << std::endl;
        }
        next_event_ = chip_.next_event().value_or(never);
    }

  private:
    std::uint64_t now_ns() const {
        return static_cast<std::uint64_t>(
            std::chrono::nanoseconds(clock_type::now() - start_).count());
    }

    const clock_type::time_point start_ = clock_type::now();
    std::mutex lock_;
    std::atomic<std::uint64_t> next_event_ = never;
    soc::register_file registers_;
    soc::chip chip_;
    std::ofstream complaints_;
    std::ofstream runs_;
};

attached_chip *attached;  // lives as long as the emulator, whose threads end with the process

// A kernel without address randomisation runs at the first multiple of 128 MiB after the area of
// its modules, which begins where kernel addresses do. So the first instruction at a kernel address
// tells where the modules end. Before it, the kernel runs at physical addresses.
class module_area {
  public:
    bool contains(std::uint64_t address) {
        if (address < first_) {
            return false;
        }
        std::uint64_t unknown = 0;
        end_.compare_exchange_strong(unknown, address - address % alignment_);
        return address < end_;
    }

  private:
    static constexpr std::uint64_t first_ = 0xffff'8000'0000'0000;
    static constexpr std::uint64_t alignment_ = 0x0800'0000;
    std::atomic<std::uint64_t> end_ = 0;
};

module_area modules;

void after_access(unsigned, qemu_plugin_meminfo_t info, std::uint64_t virtual_address, void *) {
    const qemu_plugin_hwaddr *where = qemu_plugin_get_hwaddr(info, virtual_address);

    if (where == nullptr) {
        return;
    }
    const std::uint64_t address = qemu_plugin_hwaddr_phys_addr(where);
    const unsigned bytes = 1u << qemu_plugin_mem_size_shift(info);
    if (soc::register_file::contains(address, bytes)) {
        attached->accessed(address, bytes * bits_per_byte, qemu_plugin_mem_is_store(info));
    }
}

void before_instruction(unsigned, void *) {
    attached->be_up_to_date();
}

// Bits 27 and 25 of an A64 instruction are 1 and 0 in loads and stores alone.
bool is_load_or_store(const qemu_plugin_insn *instruction) {
    constexpr std::uint32_t group_bits = 0x0a000000;
    constexpr std::uint32_t load_or_store = 0x08000000;
    std::uint32_t code = 0;
    std::memcpy(&code, qemu_plugin_insn_data(instruction), sizeof code);
    return (code & group_bits) == load_or_store;
}

void after_translation(qemu_plugin_id_t, qemu_plugin_tb *block) {
    if (!modules.contains(qemu_plugin_tb_vaddr(block))) {
        return;
    }
    for (std::size_t i = 0; i < qemu_plugin_tb_n_insns(block); ++i) {
        qemu_plugin_insn *instruction = qemu_plugin_tb_get_insn(block, i);
        if (is_load_or_store(instruction)) {
            qemu_plugin_register_vcpu_insn_exec_cb(instruction, before_instruction,
                                                   QEMU_PLUGIN_CB_NO_REGS, nullptr);
            qemu_plugin_register_vcpu_mem_cb(instruction, after_access, QEMU_PLUGIN_CB_NO_REGS,
                                             QEMU_PLUGIN_MEM_RW, nullptr);
        }
    }
}

arguments parse(int count, char **texts) {
    arguments result;
    for (int i = 0; i < count; ++i) {
        const std::string text = texts[i];
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos) {
            throw std::runtime_error("NAME=VALUE expected, not '" + text + "'");
        }
        result.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    for (const char *name : {"tree", "registers", "complaints"}) {
        if (!result.contains(name)) {
            throw std::runtime_error(std::string(name) + "=FILE expected");
        }
    }
    return result;
}

}  // namespace

extern "C" {

[[gnu::visibility("default")]] extern const int qemu_plugin_version;
const int qemu_plugin_version = 1;

[[gnu::visibility("default")]] int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t *,
                                                       int count, char **texts) {
    try {
        attached = new attached_chip(parse(count, texts));
    } catch (const std::exception &error) {
        std::cerr << "error: chip: " << error.what() << "\n";
        return 1;
    }
    qemu_plugin_register_vcpu_tb_trans_cb(id, after_translation);
    return 0;
}

}  // extern "C"
