// SPDX-License-Identifier: GPL-2.0-only
// The chip, inside the emulator: the guest's registers are a file that the chip maps as well, and
// every access that a kernel module makes to them is told to the chip right after it.
//
// Arguments: tree=FILE (of the chip), registers=FILE (64 MiB, the guest's memory from 0x1c000000),
// complaints=FILE (accesses that the chip does not have, a line each) and optionally
// scenario=FILE.
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "devicetree/flat_tree.h"
#include "lab/emulator_api.h"
#include "soc/chip.h"
#include "soc/register_file.h"
#include "soc/scenario.h"

namespace {

using clock_type = std::chrono::steady_clock;
using arguments = std::map<std::string, std::string>;

constexpr unsigned bits_per_byte = 8;

// The chip in real time. Accesses come from the threads of all processors.
class attached_chip {
  public:
    explicit attached_chip(const arguments &given)
        : registers_(given.at("registers")),
          chip_(devicetree::flat_tree::from_file(given.at("tree")), registers_),
          complaints_(given.at("complaints")) {
        const auto scenario = given.find("scenario");
        if (scenario != given.end()) {
            chip_.set_scenario(soc::scenario::from_file(scenario->second));
        }
        if (!complaints_) {
            throw std::runtime_error(given.at("complaints") + ": cannot be written");
        }
        std::thread([this] { follow_events(); }).detach();
    }

    void accessed(std::uint64_t address, unsigned width, bool is_store) {
        {
            const std::lock_guard guard(lock_);
            chip_.advance(now_ns());
            if (is_store) {
                chip_.stored(address, width);
            } else {
                chip_.loaded(address, width);
            }
            for (const std::string &line : chip_.take_complaints()) {
                complaints_ << line << std::endl;
            }
        }
        if (is_store) {
            changed_.notify_one();
        }
    }

  private:
    std::uint64_t now_ns() const {
        return static_cast<std::uint64_t>(
            std::chrono::nanoseconds(clock_type::now() - start_).count());
    }

    // What the chip does by itself is in its registers when it happens, not when someone looks: a
    // load yields what stood there before the chip hears of it.
    void follow_events() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);  // the emulator's threads handle them

        std::unique_lock guard(lock_);
        for (;;) {
            const auto event = chip_.next_event();
            if (event) {
                changed_.wait_until(guard, start_ + std::chrono::nanoseconds(*event));
            } else {
                changed_.wait(guard);
            }
            chip_.advance(now_ns());
        }
    }

    const clock_type::time_point start_ = clock_type::now();
    std::mutex lock_;
    std::condition_variable changed_;
    soc::register_file registers_;
    soc::chip chip_;
    std::ofstream complaints_;
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

void after_translation(qemu_plugin_id_t, qemu_plugin_tb *block) {
    if (!modules.contains(qemu_plugin_tb_vaddr(block))) {
        return;
    }
    for (std::size_t i = 0; i < qemu_plugin_tb_n_insns(block); ++i) {
        qemu_plugin_register_vcpu_mem_cb(qemu_plugin_tb_get_insn(block, i), after_access,
                                         QEMU_PLUGIN_CB_NO_REGS, QEMU_PLUGIN_MEM_RW, nullptr);
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
