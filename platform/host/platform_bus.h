// SPDX-License-Identifier: GPL-2.0-only
// The platform bus: a device for every node that has a `compatible` and is a child of the root or
// of a bus that itself has a device, and the drivers they bind to.
#pragma once

#include <atomic>
#include <deque>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "devicetree/flat_tree.h"
#include "platform/host/collector.h"
#include "platform/host/fault_plan.h"
#include "platform/host/heap.h"
#include "platform/host/register_windows.h"
#include "platform/host/services.h"
#include "platform/host/sysfs.h"

struct resource {
    u64 start;
    u64 size;
};

struct device {
    const devicetree::node *node;
    std::atomic<device_driver *> driver = nullptr;  // from the beginning of its probe on
    std::atomic<void *> driver_data = nullptr;
};

struct platform_device {
    device dev;
    std::deque<resource> resources;
};

struct device_driver {
    std::string name;
    ovk_platform_driver *record;
    std::vector<platform_device *> bound;  // in the order of binding
};

struct bus_type {};

namespace host {

class platform_bus {
  public:
    platform_bus(const devicetree::flat_tree &tree, heap &memory, register_windows &windows,
                 sysfs &files, fault_plan &faults, oops_log &oopses);

    // 0, or -EBUSY for a name that is taken. Probes matching devices before it returns.
    int add(ovk_platform_driver *record);
    // Unbinds its devices, latest first; no handler of its files runs once it returns.
    void remove(ovk_platform_driver *record);
    device_driver *find(std::string_view name);

    // Every bound device, in tree order and against it. The first code that is not 0 is returned;
    // devices that had gone to sleep before it are woken again.
    int suspend();
    int resume();

    // The window, or an error pointer: -EINVAL, -EBUSY, -ENOMEM.
    void *map_resource(const device *owner, const resource *range);
    const void *match_data(const device *dev) const;

    std::vector<std::string> bound_devices(std::string_view driver) const;
    std::vector<std::string> holdings() const;
    void clear();  // drops drivers without a call into the module

  private:
    void populate(const devicetree::node &node);
    void probe(device_driver &driver, platform_device &candidate);
    void unbind_all(device_driver &driver);
    void release(platform_device &unbound);
    std::vector<platform_device *> bound() const;

    heap &memory_;
    register_windows &windows_;
    sysfs &files_;
    fault_plan &faults_;
    oops_log &oopses_;
    mutable std::mutex guard_;             // of the drivers and of what is bound to them
    std::deque<platform_device> devices_;  // in tree order
    std::list<device_driver> drivers_;
};

}  // namespace host
