// SPDX-License-Identifier: GPL-2.0-only
// Kernel services: drivers, devices and the sibling modules.
#include "platform/host/state.h"

struct bus_type platform_bus_type;

static host::platform_bus &devices() {
    return host::current_machine().devices;
}

int KERNEL_SERVICE(platform_driver_register)(struct ovk_platform_driver *driver) {
    return devices().add(driver);
}

void KERNEL_SERVICE(platform_driver_unregister)(struct ovk_platform_driver *driver) {
    devices().remove(driver);
}

struct device_driver *KERNEL_SERVICE(driver_find)(const char *name, struct bus_type *bus) {
    return bus == &platform_bus_type ? devices().find(name) : nullptr;
}

int KERNEL_SERVICE(driver_create_file)(struct device_driver *driver,
                                       struct ovk_driver_attribute *attribute) {
    return host::current_machine().files.create(driver, attribute);
}

struct device *KERNEL_SERVICE(platform_device_dev)(struct platform_device *pdev) {
    return &pdev->dev;
}

struct resource *KERNEL_SERVICE(platform_get_resource)(struct platform_device *pdev,
                                                       unsigned int type, unsigned int index) {
    const bool exists = type == IORESOURCE_MEM && index < pdev->resources.size();
    return exists ? &pdev->resources[index] : nullptr;
}

void *KERNEL_SERVICE(devm_ioremap_resource)(struct device *dev, struct resource *res) {
    return devices().map_resource(dev, res);
}

const void *KERNEL_SERVICE(of_device_get_match_data)(const struct device *dev) {
    return devices().match_data(dev);
}

void KERNEL_SERVICE(dev_set_drvdata)(struct device *dev, void *data) {
    dev->driver_data = data;
}

void *KERNEL_SERVICE(dev_get_drvdata)(const struct device *dev) {
    return dev->driver_data;
}

u32 KERNEL_SERVICE(ovk_dramc_get_support_channel_num)(void) {
    return host::current_machine().dram_channels;
}

u32 KERNEL_SERVICE(ovk_dramc_get_freq)(u32 channel) {
    const auto &frequencies = host::current_machine().dram_frequencies;
    return channel < frequencies.size() ? frequencies[channel] : 0;
}

int KERNEL_SERVICE(ovk_miu2gmc_mask)(int id, int port, bool enable) {
    return host::current_machine().masks.request(id, port, enable);
}
