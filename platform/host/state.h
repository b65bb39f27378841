// SPDX-License-Identifier: GPL-2.0-only
// What a machine consists of.
#pragma once

#include <atomic>
#include <semaphore>
#include <string>
#include <vector>

#include "platform/host/board.h"
#include "platform/host/collector.h"
#include "platform/host/fault_plan.h"
#include "platform/host/heap.h"
#include "platform/host/kernel_log.h"
#include "platform/host/kernel_mutex.h"
#include "platform/host/kernel_text.h"
#include "platform/host/live_tree.h"
#include "platform/host/machine.h"
#include "platform/host/module_image.h"
#include "platform/host/platform_bus.h"
#include "platform/host/port_masks.h"
#include "platform/host/register_trace.h"
#include "platform/host/register_windows.h"
#include "platform/host/sysfs.h"

namespace host {

struct machine::state {
    state(const devicetree::flat_tree &flat, bus &hardware, options opts);

    // Reports what the module left behind as oopses, and takes it away.
    void settle(const std::string &occasion);
    std::vector<std::string> holdings() const;

    format_context text_context() { return {tree, oopses}; }

    const devicetree::flat_tree &flat_tree;
    const std::vector<std::uint32_t> dram_frequencies;
    const std::uint32_t dram_channels;
    oops_log oopses;
    fault_plan faults;
    kernel_log log;
    register_trace trace;
    board hardware;
    heap memory;
    register_windows windows;
    live_tree tree;
    sysfs files;
    platform_bus devices;
    port_masks masks;
    module_image image;

    // One load, unload, suspend or resume at a time. No mutex, because the module runs meanwhile.
    std::binary_semaphore transition{1};
    std::atomic<bool> loaded = false;
};

// The machine of this process; without one, a service of the kernel has nobody to serve.
machine::state &current_machine();

}  // namespace host
