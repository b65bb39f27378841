// SPDX-License-Identifier: GPL-2.0-only
// Kernel services: time, scheduling and register windows.
#include "platform/host/state.h"
#include "platform/host/text_tools.h"

static constexpr u64 nanoseconds_per_microsecond = 1000;

// A process waits, and may get its signal here.
static void begin_wait(host::machine::state &machine) {
    if (machine.faults.strikes(host::fault_kind::wait, "")) {
        machine.files.kill_this_handler();
    }
}

void KERNEL_SERVICE(usleep_range)(unsigned long min_us, unsigned long max_us) {
    host::machine::state &machine = host::current_machine();
    if (max_us < min_us) {
        machine.oopses.add("usleep_range from " + std::to_string(min_us) + " to " +
                           std::to_string(max_us));
    }
    begin_wait(machine);
    machine.hardware.sleep(min_us, max_us);
}

u64 KERNEL_SERVICE(ktime_get_ns)(void) {
    return host::current_machine().hardware.now_us() * nanoseconds_per_microsecond;
}

// Nothing else is there to run, so all that happens to a thread that spins is that time passes.
int KERNEL_SERVICE(cond_resched)(void) {
    host::machine::state &machine = host::current_machine();
    begin_wait(machine);
    machine.hardware.yield();
    return 0;
}

void KERNEL_SERVICE(cpu_relax)(void) {}

int KERNEL_SERVICE(mutex_lock_killable)(struct mutex *lock) {
    host::machine::state &machine = host::current_machine();
    begin_wait(machine);
    return lock->lock_killable(machine.oopses, machine.files.fatal_signal_pending());
}

void KERNEL_SERVICE(mutex_unlock)(struct mutex *lock) {
    lock->unlock(host::current_machine().oopses);
}

bool KERNEL_SERVICE(fatal_signal_pending_of_current)(void) {
    return host::current_machine().files.fatal_signal_pending();
}

bool KERNEL_SERVICE(signal_pending_of_current)(void) {
    return host::current_machine().files.signal_pending();
}

void *KERNEL_SERVICE(of_iomap)(struct device_node *node, int index) {
    host::machine::state &machine = host::current_machine();
    const devicetree::node *source = machine.tree.usable(node, "of_iomap");
    const bool fails =
        machine.faults.strikes(host::fault_kind::mapping, source ? source->name : std::string());
    if (fails || !source || index < 0 || static_cast<size_t>(index) >= source->reg.size()) {
        return nullptr;
    }
    const devicetree::range &range = source->reg[static_cast<size_t>(index)];
    if (range.size == 0) {
        return nullptr;
    }
    return machine.windows.map({source->name, range.start, range.size});
}

// The window goes by its address, also where a node of the tree describes the same registers.
void *KERNEL_SERVICE(ioremap)(u64 physical_address, size_t size) {
    host::machine::state &machine = host::current_machine();
    const std::string name = host::hexadecimal(physical_address);
    if (machine.faults.strikes(host::fault_kind::mapping, name) || size == 0) {
        return nullptr;
    }
    return machine.windows.map({name, physical_address, size});
}

void KERNEL_SERVICE(iounmap)(void __iomem *addr) {
    host::current_machine().windows.unmap(addr);
}

u16 KERNEL_SERVICE(readw_relaxed)(const void __iomem *addr) {
    return static_cast<u16>(host::current_machine().windows.load(addr, 16));
}

u32 KERNEL_SERVICE(readl_relaxed)(const void __iomem *addr) {
    return static_cast<u32>(host::current_machine().windows.load(addr, 32));
}

u64 KERNEL_SERVICE(readq_relaxed)(const void __iomem *addr) {
    return host::current_machine().windows.load(addr, 64);
}

void KERNEL_SERVICE(writel_relaxed)(u32 value, void __iomem *addr) {
    host::current_machine().windows.store(addr, 32, value);
}

void KERNEL_SERVICE(writeq_relaxed)(u64 value, void __iomem *addr) {
    host::current_machine().windows.store(addr, 64, value);
}

void KERNEL_SERVICE(writel)(u32 value, void __iomem *addr) {
    host::current_machine().windows.store(addr, 32, value);
}

void KERNEL_SERVICE(wmb)(void) {
    host::current_machine().trace.barrier();
}
