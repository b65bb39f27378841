// SPDX-License-Identifier: GPL-2.0-only
// The part of the emulator's plugin interface, version 1, that the chip uses. Distributions do not
// package its header. The emulator has these functions; the plugin has `qemu_plugin_version` and
// `qemu_plugin_install`.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

using qemu_plugin_id_t = std::uint64_t;
using qemu_plugin_meminfo_t = std::uint32_t;

struct qemu_info_t;
struct qemu_plugin_tb;      // a translated block of instructions
struct qemu_plugin_insn;    // one of them
struct qemu_plugin_hwaddr;  // where an access went

enum qemu_plugin_cb_flags { QEMU_PLUGIN_CB_NO_REGS = 0 };
enum qemu_plugin_mem_rw { QEMU_PLUGIN_MEM_RW = 3 };  // loads and stores

using qemu_plugin_vcpu_tb_trans_cb_t = void (*)(qemu_plugin_id_t id, qemu_plugin_tb *block);
using qemu_plugin_vcpu_udata_cb_t = void (*)(unsigned processor, void *data);
using qemu_plugin_vcpu_mem_cb_t = void (*)(unsigned processor, qemu_plugin_meminfo_t info,
                                           std::uint64_t virtual_address, void *data);

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           qemu_plugin_vcpu_tb_trans_cb_t callback);
std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb *block);
std::uint64_t qemu_plugin_tb_vaddr(const qemu_plugin_tb *block);
qemu_plugin_insn *qemu_plugin_tb_get_insn(const qemu_plugin_tb *block, std::size_t index);

const void *qemu_plugin_insn_data(const qemu_plugin_insn *insn);  // its code

// The callback runs right before the instruction, in the processor's thread.
void qemu_plugin_register_vcpu_insn_exec_cb(qemu_plugin_insn *instruction,
                                            qemu_plugin_vcpu_udata_cb_t callback,
                                            qemu_plugin_cb_flags flags, void *data);

// The callback runs right after each access of the instruction, in the processor's thread.
void qemu_plugin_register_vcpu_mem_cb(qemu_plugin_insn *instruction,
                                      qemu_plugin_vcpu_mem_cb_t callback,
                                      qemu_plugin_cb_flags flags, qemu_plugin_mem_rw kind,
                                      void *data);

// For that callback. The size is 2 to the power of the shift, in bytes.
unsigned qemu_plugin_mem_size_shift(qemu_plugin_meminfo_t info);
bool qemu_plugin_mem_is_store(qemu_plugin_meminfo_t info);
qemu_plugin_hwaddr *qemu_plugin_get_hwaddr(qemu_plugin_meminfo_t info,
                                           std::uint64_t virtual_address);
std::uint64_t qemu_plugin_hwaddr_phys_addr(const qemu_plugin_hwaddr *where);

}  // extern "C"
