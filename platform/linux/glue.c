// SPDX-License-Identifier: GPL-2.0-only
/*
 * The services of platform/kernel.h on a real kernel, from Linux 5.4 on, and the module's metadata.
 *
 * Most services are macros or inlines in some version, so each gets a function of its own here.
 * What differs between versions is settled in this file and nowhere else.
 */
#include <linux/delay.h>
#include <linux/device.h>
#include <linux/io.h>
#include <linux/ioport.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/mod_devicetable.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/of.h>
#include <linux/of_address.h>
#include <linux/of_device.h>
#include <linux/platform_device.h>
#include <linux/pm.h>
#include <linux/sched.h>
#include <linux/sched/signal.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/sysfs.h>
#include <linux/version.h>

#include "platform/linux/siblings.h"
#include "platform/version.h"

#define KERNEL_SERVICE(name) ovk_kernel_##name
#include "platform/kernel.h"

MODULE_LICENSE("GPL");
MODULE_VERSION(OVK_VERSION);
MODULE_AUTHOR("The ovk_bw maintainers");
MODULE_DESCRIPTION("DRAM and memory bus bandwidth monitor and quality-of-service controls");

DEFINE_MUTEX(ovk_measurement_mutex);
DEFINE_MUTEX(ovk_emi_mutex);

/* The C++ sources state the layout of this record and the value of this flag on their own. */
static_assert(sizeof(struct of_device_id) == 200);
static_assert(offsetof(struct of_device_id, type) == 32);
static_assert(offsetof(struct of_device_id, compatible) == 64);
static_assert(offsetof(struct of_device_id, data) == 192);
static_assert(IORESOURCE_MEM == 0x200);

/* Log and text. */

int ovk_kernel_printk(const char *fmt, ...)
{
	va_list args;
	int length;

	va_start(args, fmt);
	length = vprintk(fmt, args); /* reads the level from the text, as printk does */
	va_end(args);
	return length;
}

int ovk_kernel_snprintf(char *buf, size_t size, const char *fmt, ...)
{
	va_list args;
	int length;

	va_start(args, fmt);
	length = vsnprintf(buf, size, fmt, args);
	va_end(args);
	return length;
}

int ovk_kernel_vscnprintf(char *buf, size_t size, const char *fmt, va_list args)
{
	return vscnprintf(buf, size, fmt, args);
}

int ovk_kernel_sscanf(const char *buf, const char *fmt, ...)
{
	va_list args;
	int converted;

	va_start(args, fmt);
	converted = vsscanf(buf, fmt, args);
	va_end(args);
	return converted;
}

int ovk_kernel_kstrtouint(const char *s, unsigned int base, unsigned int *res)
{
	return kstrtouint(s, base, res);
}

int ovk_kernel_kstrtobool(const char *s, bool *res)
{
	return kstrtobool(s, res);
}

int ovk_kernel_strncmp(const char *a, const char *b, size_t count)
{
	return strncmp(a, b, count);
}

/* Memory. The kernel renumbers its own flags from version to version. */

static gfp_t kernel_flags(gfp_t flags)
{
	gfp_t translated = 0;

	if (flags & OVK_GFP_KERNEL)
		translated |= GFP_KERNEL;
	if (flags & OVK_GFP_ZERO)
		translated |= __GFP_ZERO;
	return translated;
}

void *ovk_kernel_kmalloc(size_t size, gfp_t flags)
{
	return kmalloc(size, kernel_flags(flags));
}

void *ovk_kernel_kmalloc_array(size_t count, size_t size, gfp_t flags)
{
	return kmalloc_array(count, size, kernel_flags(flags));
}

void ovk_kernel_kfree(const void *memory)
{
	kfree(memory);
}

void *ovk_kernel_devm_kmalloc(struct device *dev, size_t size, gfp_t flags)
{
	return devm_kmalloc(dev, size, kernel_flags(flags));
}

/* Time and scheduling. */

void ovk_kernel_usleep_range(unsigned long min_us, unsigned long max_us)
{
	usleep_range(min_us, max_us);
}

u64 ovk_kernel_ktime_get_ns(void)
{
	return ktime_get_ns();
}

int ovk_kernel_cond_resched(void)
{
	return cond_resched();
}

void ovk_kernel_cpu_relax(void)
{
	cpu_relax();
}

int ovk_kernel_mutex_lock_killable(struct mutex *lock)
{
	return mutex_lock_killable(lock);
}

void ovk_kernel_mutex_unlock(struct mutex *lock)
{
	mutex_unlock(lock);
}

bool ovk_kernel_fatal_signal_pending_of_current(void)
{
	return fatal_signal_pending(current);
}

bool ovk_kernel_signal_pending_of_current(void)
{
	return signal_pending(current);
}

/* Register windows. */

void __iomem *ovk_kernel_of_iomap(struct device_node *node, int index)
{
	return of_iomap(node, index);
}

void __iomem *ovk_kernel_ioremap(u64 physical_address, size_t size)
{
	return ioremap(physical_address, size);
}

void ovk_kernel_iounmap(void __iomem *addr)
{
	iounmap(addr);
}

u16 ovk_kernel_readw_relaxed(const void __iomem *addr)
{
	return readw_relaxed(addr);
}

u32 ovk_kernel_readl_relaxed(const void __iomem *addr)
{
	return readl_relaxed(addr);
}

u64 ovk_kernel_readq_relaxed(const void __iomem *addr)
{
	return readq_relaxed(addr);
}

void ovk_kernel_writel_relaxed(u32 value, void __iomem *addr)
{
	writel_relaxed(value, addr);
}

void ovk_kernel_writeq_relaxed(u64 value, void __iomem *addr)
{
	writeq_relaxed(value, addr);
}

void ovk_kernel_writel(u32 value, void __iomem *addr)
{
	writel(value, addr);
}

void ovk_kernel_wmb(void)
{
	wmb();
}

/* Device tree. */

struct device_node *ovk_kernel_of_find_node_by_name(struct device_node *from, const char *name)
{
	return of_find_node_by_name(from, name);
}

struct device_node *ovk_kernel_of_find_node_by_type(struct device_node *from, const char *type)
{
	return of_find_node_by_type(from, type);
}

struct device_node *ovk_kernel_of_get_next_available_child(const struct device_node *node,
							   struct device_node *prev)
{
	return of_get_next_available_child(node, prev);
}

struct device_node *ovk_kernel_of_parse_phandle(const struct device_node *node,
						const char *property, int index)
{
	return of_parse_phandle(node, property, index);
}

struct device_node *ovk_kernel_of_node_get(struct device_node *node)
{
	return of_node_get(node);
}

void ovk_kernel_of_node_put(struct device_node *node)
{
	of_node_put(node);
}

bool ovk_kernel_of_device_is_available(const struct device_node *node)
{
	return of_device_is_available(node);
}

bool ovk_kernel_of_node_name_eq(const struct device_node *node, const char *name)
{
	return of_node_name_eq(node, name);
}

struct property *ovk_kernel_of_find_property(const struct device_node *node, const char *name,
					     int *length)
{
	return of_find_property(node, name, length);
}

int ovk_kernel_of_property_read_string(const struct device_node *node, const char *name,
				       const char **value)
{
	return of_property_read_string(node, name, value);
}

int ovk_kernel_of_property_read_variable_u32_array(const struct device_node *node, const char *name,
						   u32 *values, size_t min, size_t max)
{
	return of_property_read_variable_u32_array(node, name, values, min, max);
}

int ovk_kernel_of_property_count_elems_of_size(const struct device_node *node, const char *name,
					       int size)
{
	return of_property_count_elems_of_size(node, name, size);
}

/* Drivers and devices. */

/* The running kernel's form of a driver; lives in ovk_platform_driver.kernel_record. */
struct registered_driver {
	struct platform_driver driver;
	struct dev_pm_ops pm;
};
static_assert(sizeof(struct registered_driver) <=
	      sizeof_field(struct ovk_platform_driver, kernel_record));

static struct registered_driver *registered(struct ovk_platform_driver *driver)
{
	return (struct registered_driver *)driver->kernel_record;
}

static struct ovk_platform_driver *driver_of(struct platform_device *pdev)
{
	struct registered_driver *record = container_of(to_platform_driver(pdev->dev.driver),
							struct registered_driver, driver);

	return container_of((void *)record, struct ovk_platform_driver, kernel_record);
}

static int remove_device(struct platform_device *pdev)
{
	return driver_of(pdev)->remove(pdev);
}

/* Since 6.11 a driver cannot refuse to go: remove has no result. */
#if LINUX_VERSION_CODE >= KERNEL_VERSION(6, 11, 0)
static void kernel_remove(struct platform_device *pdev)
{
	remove_device(pdev);
}
#else
#define kernel_remove remove_device
#endif

static struct dev_pm_ops kernel_pm_ops(const struct ovk_dev_pm_ops *pm)
{
	return (struct dev_pm_ops){
		.suspend = pm->suspend,
		.resume = pm->resume,
		.freeze = pm->freeze,
		.thaw = pm->thaw,
		.poweroff = pm->poweroff,
		.restore = pm->restore,
	};
}

static void fill_in(struct registered_driver *record, const struct ovk_platform_driver *driver)
{
	*record = (struct registered_driver){
		.driver.probe = driver->probe,
		.driver.remove = driver->remove ? kernel_remove : NULL,
		.driver.driver.name = driver->name,
		.driver.driver.of_match_table = driver->of_match_table,
	};
	if (driver->pm) {
		record->pm = kernel_pm_ops(driver->pm);
		record->driver.driver.pm = &record->pm;
	}
}

int ovk_kernel_platform_driver_register(struct ovk_platform_driver *driver)
{
	fill_in(registered(driver), driver);
	return platform_driver_register(&registered(driver)->driver);
}

void ovk_kernel_platform_driver_unregister(struct ovk_platform_driver *driver)
{
	platform_driver_unregister(&registered(driver)->driver);
}

struct device_driver *ovk_kernel_driver_find(const char *name, struct bus_type *bus)
{
	return driver_find(name, bus);
}

static_assert(sizeof(struct driver_attribute) <=
	      sizeof_field(struct ovk_driver_attribute, kernel_record));

int ovk_kernel_driver_create_file(struct device_driver *driver,
				  struct ovk_driver_attribute *attribute)
{
	struct driver_attribute *record = (struct driver_attribute *)attribute->kernel_record;

	*record = (struct driver_attribute){
		.attr = {.name = attribute->name, .mode = attribute->mode},
		.show = attribute->show,
		.store = attribute->store,
	};
	sysfs_attr_init(&record->attr); /* the lock checker's key */
	return driver_create_file(driver, record);
}

struct device *ovk_kernel_platform_device_dev(struct platform_device *pdev)
{
	return &pdev->dev;
}

struct resource *ovk_kernel_platform_get_resource(struct platform_device *pdev, unsigned int type,
						  unsigned int index)
{
	return platform_get_resource(pdev, type, index);
}

void __iomem *ovk_kernel_devm_ioremap_resource(struct device *dev, struct resource *res)
{
	return devm_ioremap_resource(dev, res);
}

const void *ovk_kernel_of_device_get_match_data(const struct device *dev)
{
	return of_device_get_match_data(dev);
}

void ovk_kernel_dev_set_drvdata(struct device *dev, void *data)
{
	dev_set_drvdata(dev, data);
}

void *ovk_kernel_dev_get_drvdata(const struct device *dev)
{
	return dev_get_drvdata(dev);
}

/* The sibling modules. */

u32 ovk_kernel_ovk_dramc_get_support_channel_num(void)
{
	return ovk_dramc_get_support_channel_num();
}

u32 ovk_kernel_ovk_dramc_get_freq(u32 channel)
{
	return ovk_dramc_get_freq(channel);
}

int ovk_kernel_ovk_miu2gmc_mask(int id, int port, bool enable)
{
	return ovk_miu2gmc_mask(id, port, enable);
}
