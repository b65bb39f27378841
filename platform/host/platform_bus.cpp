// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/platform_bus.h"

#include <strings.h>

#include <algorithm>
#include <bit>
#include <climits>

namespace host {

static void *error_pointer(long code) {
    return std::bit_cast<void *>(code);
}

// How well a node answers to an entry of a match table; 0 is not at all. An early entry of the
// node's compatible list outweighs type and name.
static int compatible_score(const devicetree::node &node, const char *compatible) {
    const devicetree::property *list = node.find("compatible");
    int position = 0;
    for (std::size_t at = 0; list && at < list->value.size(); ++position) {
        const char *entry = list->value.c_str() + at;
        if (strcasecmp(entry, compatible) == 0) {
            return INT_MAX / 2 - position * 4;
        }
        at += std::string_view(entry).size() + 1;
    }
    return 0;
}

static int match_score(const devicetree::node &node, const of_device_id &entry) {
    int score = 0;
    if (entry.compatible[0]) {
        score = compatible_score(node, entry.compatible);
        if (score == 0) {
            return 0;
        }
    }
    if (entry.type[0]) {
        if (node.string("device_type") != entry.type) {
            return 0;
        }
        score += 2;
    }
    if (entry.name[0]) {
        if (node.name != entry.name) {
            return 0;
        }
        ++score;
    }
    return score;
}

static const of_device_id *best_match(const devicetree::node &node, const of_device_id *table) {
    const of_device_id *best = nullptr;
    int best_score = 0;
    for (; table && (table->name[0] || table->type[0] || table->compatible[0]); ++table) {
        const int score = match_score(node, *table);
        if (score > best_score) {
            best = table;
            best_score = score;
        }
    }
    return best;
}

// The buses whose children become devices as well; a node of another kind keeps its own to itself.
static bool is_bus(const devicetree::node &node) {
    const auto is = [&node](const char *kind) { return compatible_score(node, kind) != 0; };
    return is("simple-bus") || is("simple-mfd") || is("isa") || is("arm,amba-bus");
}

platform_bus::platform_bus(const devicetree::flat_tree &tree, heap &memory,
                           register_windows &windows, sysfs &files, fault_plan &faults,
                           oops_log &oopses)
    : memory_(memory), windows_(windows), files_(files), faults_(faults), oopses_(oopses) {
    for (const devicetree::node *child : tree.nodes().front()->children) {
        populate(*child);
    }
}

void platform_bus::populate(const devicetree::node &node) {
    if (!node.available() || !node.has("compatible")) {
        return;
    }
    platform_device &created = devices_.emplace_back();
    created.dev.node = &node;
    for (const devicetree::range &range : node.reg) {
        created.resources.push_back({range.start, range.size});
    }
    if (!is_bus(node)) {
        return;
    }
    for (const devicetree::node *child : node.children) {
        populate(*child);
    }
}

device_driver *platform_bus::find(std::string_view name) {
    std::scoped_lock lock(guard_);
    const auto found = std::ranges::find(drivers_, name, &device_driver::name);
    return found == drivers_.end() ? nullptr : &*found;
}

int platform_bus::add(ovk_platform_driver *record) {
    if (find(record->name)) {
        return -EBUSY;
    }
    device_driver *driver = nullptr;
    {
        std::scoped_lock lock(guard_);
        driver = &drivers_.emplace_back(device_driver{record->name, record, {}});
    }
    for (platform_device &candidate : devices_) {
        if (!candidate.dev.driver && best_match(*candidate.dev.node, record->of_match_table)) {
            probe(*driver, candidate);
        }
    }
    return 0;
}

void platform_bus::probe(device_driver &driver, platform_device &candidate) {
    candidate.dev.driver = &driver;
    const int code = driver.record->probe ? driver.record->probe(&candidate) : 0;
    if (code != 0) {
        release(candidate);
        return;
    }
    std::scoped_lock lock(guard_);
    driver.bound.push_back(&candidate);
}

void platform_bus::release(platform_device &unbound) {
    memory_.release_owned_by(&unbound.dev);
    windows_.release_owned_by(&unbound.dev);
    unbound.dev.driver_data = nullptr;
    unbound.dev.driver = nullptr;
}

void platform_bus::unbind_all(device_driver &driver) {
    for (;;) {
        platform_device *latest = nullptr;
        {
            std::scoped_lock lock(guard_);
            if (driver.bound.empty()) {
                return;
            }
            latest = driver.bound.back();
            driver.bound.pop_back();
        }
        const int code = driver.record->remove ? driver.record->remove(latest) : 0;
        if (code != 0) {
            oopses_.add("remove of " + latest->dev.node->full_name + " returned " +
                        std::to_string(code) + ", which nobody heeds");
        }
        release(*latest);
    }
}

void platform_bus::remove(ovk_platform_driver *record) {
    device_driver *driver = nullptr;
    {
        std::scoped_lock lock(guard_);
        const auto found = std::ranges::find(drivers_, record, &device_driver::record);
        driver = found == drivers_.end() ? nullptr : &*found;
    }
    if (!driver) {
        oopses_.add("platform_driver_unregister of a driver that is not registered");
        return;
    }
    unbind_all(*driver);
    files_.remove_all(driver);
    std::scoped_lock lock(guard_);
    drivers_.remove_if([driver](const device_driver &each) { return &each == driver; });
}

void platform_bus::clear() {
    for (device_driver &driver : drivers_) {
        for (platform_device *device : driver.bound) {
            release(*device);
        }
        files_.remove_all(&driver);
    }
    std::scoped_lock lock(guard_);
    drivers_.clear();
}

std::vector<platform_device *> platform_bus::bound() const {
    std::scoped_lock lock(guard_);
    std::vector<platform_device *> result;
    for (const device_driver &driver : drivers_) {
        result.insert(result.end(), driver.bound.begin(), driver.bound.end());
    }
    std::ranges::sort(result, {}, [this](const platform_device *each) {
        return std::ranges::find_if(
                   devices_, [each](const platform_device &device) { return &device == each; }) -
               devices_.begin();
    });
    return result;
}

static int call_power_callback(platform_device &target,
                               int (*ovk_dev_pm_ops::*callback)(device *)) {
    const ovk_dev_pm_ops *power = target.dev.driver.load()->record->pm;
    return power && power->*callback ? (power->*callback)(&target.dev) : 0;
}

int platform_bus::suspend() {
    const std::vector<platform_device *> devices = bound();
    for (auto next = devices.rbegin(); next != devices.rend(); ++next) {
        const int code = call_power_callback(**next, &ovk_dev_pm_ops::suspend);
        if (code != 0) {
            for (auto asleep = next.base(); asleep != devices.end(); ++asleep) {
                call_power_callback(**asleep, &ovk_dev_pm_ops::resume);
            }
            return code;
        }
    }
    return 0;
}

int platform_bus::resume() {
    int first_failure = 0;
    for (platform_device *device : bound()) {
        const int code = call_power_callback(*device, &ovk_dev_pm_ops::resume);
        first_failure = first_failure != 0 ? first_failure : code;
    }
    return first_failure;
}

void *platform_bus::map_resource(const device *owner, const resource *range) {
    const bool fails = faults_.strikes(fault_kind::mapping, owner->node->name);
    if (!range) {
        return error_pointer(-EINVAL);
    }
    if (fails || range->size == 0) {
        return error_pointer(-ENOMEM);
    }
    void *base = windows_.map_claimed({owner->node->name, range->start, range->size, owner});
    return base ? base : error_pointer(-EBUSY);
}

const void *platform_bus::match_data(const device *dev) const {
    const device_driver *driver = dev->driver;
    if (!driver) {
        return nullptr;
    }
    const of_device_id *match = best_match(*dev->node, driver->record->of_match_table);
    return match ? match->data : nullptr;
}

std::vector<std::string> platform_bus::bound_devices(std::string_view driver) const {
    std::scoped_lock lock(guard_);
    std::vector<std::string> names;
    for (const device_driver &each : drivers_) {
        for (const platform_device *device : each.bound) {
            if (each.name == driver) {
                names.push_back(device->dev.node->full_name);
            }
        }
    }
    return names;
}

std::vector<std::string> platform_bus::holdings() const {
    std::scoped_lock lock(guard_);
    std::vector<std::string> lines;
    for (const device_driver &driver : drivers_) {
        lines.push_back("driver: " + driver.name + ", bound to " +
                        std::to_string(driver.bound.size()) + " devices");
    }
    return lines;
}

}  // namespace host
