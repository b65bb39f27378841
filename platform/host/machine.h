// SPDX-License-Identifier: GPL-2.0-only
// The host kernel: one machine that a module is loaded into, with everything it can see of it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "devicetree/flat_tree.h"
#include "platform/host/bus.h"
#include "platform/host/records.h"

namespace host {

struct options {
    std::string module_image;              // path of the shared object that holds the module
    std::vector<std::uint32_t> dram_freq;  // channel frequencies that ovk-dramc reports
    bool realtime = false;                 // sleeps take their time on the wall clock as well
};

// Thread-safe: attributes may be read and written from several threads at once, also while the
// module is being unloaded.
class machine {
  public:
    machine(const devicetree::flat_tree &tree, bus &hardware, options opts);
    ~machine();  // unloads; leaks and faults that nobody collected end the process loudly
    machine(const machine &) = delete;
    machine &operator=(const machine &) = delete;

    // insmod and rmmod: 0 or a negative error code.
    int load();
    int unload();
    bool loaded() const;

    // sysfs of the driver "ovk-bw". A read is one open, one read to the end, one close, and yields
    // the bytes or a negative code; a write is what `printf TEXT > attribute` does.
    using read_result = host::read_result;
    std::vector<attribute_info> attributes() const;  // in creation order
    read_result read(std::string_view attribute);
    long write(std::string_view attribute, std::string_view text);  // bytes written or error

    // A fatal signal for every process that is in `read` or `write` now. A wait for a lock ends
    // with it; each returns with what the handler makes of it.
    void kill_waiters();
    // The same with a signal that is not fatal, such as Ctrl-C in a shell that handles it or the
    // freezer's.
    void interrupt_handlers();

    // System power transition of every bound device.
    int suspend();
    int resume();
    std::vector<std::string> bound_devices() const;  // full names of nodes bound to "ovk-effi"

    // Kernel log since the last call.
    std::vector<log_line> take_log();

    // Register trace: the accesses of the module, not those of its siblings.
    void set_tracing(bool on);
    std::vector<trace_entry> take_trace();

    std::uint64_t now_us() const;     // virtual microseconds since power-on
    std::uint64_t waited_us() const;  // of these, spent in sleeps and busy waits by the module
    void elapse(std::uint64_t us);    // lets time pass

    // Fault injection. fail_nth: the n-th request from now fails, once. fail_named: requests of
    // that name (node or attribute name; for `property` "node:property"; allocations and mask
    // requests have none, "") fail until clear_faults.
    void fail_nth(fault_kind kind, std::uint64_t n);
    void fail_named(fault_kind kind, std::string name);
    void clear_faults();
    // Requests of a kind so far, failed ones included.
    std::uint64_t requests(fault_kind kind) const;

    // What a stricter kernel objects to: access outside a window, unaligned access, double unmap,
    // a write past the page, an unknown register, a lock held on return, ... One line each.
    std::vector<std::string> take_oopses();

    // What the module holds now, one line each: memory, windows, node references above the tree's
    // own, drivers. Empty after a clean unload; checked and reported as oopses by unload and by a
    // failed load.
    std::vector<std::string> holdings() const;

    using allocation_count = host::allocation_count;
    allocation_count allocations() const;  // since power-on

    // The flattened tree as it was given, for names and addresses.
    const devicetree::flat_tree &tree() const;

    struct state;  // for the services of this library alone

  private:
    std::unique_ptr<state> state_;
};

}  // namespace host
