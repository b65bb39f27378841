/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The only door out of module/: every kernel service that the driver uses, declared once, with the
 * kernel's own name, types and meaning.
 *
 * Each service binds to a symbol "ovk_kernel_NAME". Linux offers many of them only as a macro or an
 * inline, and which ones changes between versions; the prefix lets one C file (platform/linux) or
 * one library (platform/host) supply them all in the same way, and keeps names such as sscanf apart
 * from the C library's on a PC.
 *
 * A supplier defines KERNEL_SERVICE(name) as ovk_kernel_##name before it includes this file: the
 * services then go by these names, and the compiler checks its definitions against these
 * declarations. On Linux that supplier is C
 * and brings the kernel's own types.
 */
#ifndef OVK_PLATFORM_KERNEL_H
#define OVK_PLATFORM_KERNEL_H

/* Allocation flags of this interface; the supplier translates them to the running kernel's. */
#define OVK_GFP_KERNEL 0x1
#define OVK_GFP_ZERO 0x2

/* The place of a format string and of its first value. Compilers name the formats differently. */
#ifdef __clang__
#define KERNEL_PRINTF(format_at, values_at) __attribute__((format(printf, format_at, values_at)))
#define KERNEL_SCANF(format_at, values_at) __attribute__((format(scanf, format_at, values_at)))
#else
#define KERNEL_PRINTF(format_at, values_at) \
    __attribute__((format(gnu_printf, format_at, values_at)))
#define KERNEL_SCANF(format_at, values_at) __attribute__((format(gnu_scanf, format_at, values_at)))
#endif

#ifdef __cplusplus

#include <stdarg.h>
#include <stddef.h>

using u8 = unsigned char;
using u16 = unsigned short;
using u32 = unsigned int;
using u64 = unsigned long long;
using s32 = int;
using s64 = long long;
using ssize_t = long;
using umode_t = unsigned short;
using gfp_t = unsigned int;

#define __iomem
#define __visible __attribute__((visibility("default"))) /* the loader looks for it by name */

#define KERN_ALERT "\0011"
#define KERN_ERR "\0013"
#define KERN_NOTICE "\0015"
#define KERN_INFO "\0016"

inline constexpr gfp_t GFP_KERNEL = OVK_GFP_KERNEL;
inline constexpr gfp_t __GFP_ZERO = OVK_GFP_ZERO;

inline constexpr u32 IORESOURCE_MEM = 0x200;
inline constexpr u64 NSEC_PER_MSEC = 1'000'000;

inline constexpr int EPERM = 1;
inline constexpr int EINTR = 4;
inline constexpr int ENXIO = 6;
inline constexpr int ENOMEM = 12;
inline constexpr int EINVAL = 22;
inline constexpr int ETIMEDOUT = 110;

extern "C" {

struct bus_type;
struct device;
struct device_driver;
struct device_node;
struct mutex;
struct platform_device;
struct property;
struct resource;

struct of_device_id {
    char name[32];
    char type[32];
    char compatible[128];
    const void *data;
};

extern struct bus_type platform_bus_type;

} /* extern "C" */

/*
 * Tells the kernel's build of the devices in a table, which has to have external C linkage: it
 * makes aliases of the module out of it, so that the module is loaded when such a device is found.
 * The symbol has one name up to Linux 6.13 and another one from then on.
 */
#define MODULE_DEVICE_TABLE(bus, table)                              \
    extern "C" decltype(table) __mod_##bus##__##table##_device_table \
        __attribute__((unused, alias(#table)));                      \
    extern "C" decltype(table) __mod_device_table__##bus##__##table  \
        __attribute__((unused, alias(#table)))

#endif /* __cplusplus */

#ifdef KERNEL_SERVICE
#define BOUND_TO(name)
#else
#define KERNEL_SERVICE(name) name
#define BOUND_TO(name) __asm__("ovk_kernel_" #name)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Records that the kernel lays out by version and configuration. The driver fills in the named
 * members; kernel_record is room in which the supplier keeps the running kernel's own form for as
 * long as the record is registered.
 */
struct ovk_driver_attribute {
    const char *name;
    umode_t mode;
    ssize_t (*show)(struct device_driver *driver, char *buf);
    ssize_t (*store)(struct device_driver *driver, const char *buf, size_t count);
    unsigned long kernel_record[16];
};

struct ovk_dev_pm_ops {
    int (*suspend)(struct device *dev);
    int (*resume)(struct device *dev);
    int (*freeze)(struct device *dev);
    int (*thaw)(struct device *dev);
    int (*poweroff)(struct device *dev);
    int (*restore)(struct device *dev);
};

struct ovk_platform_driver {
    const char *name;
    const struct of_device_id *of_match_table;
    const struct ovk_dev_pm_ops *pm;
    int (*probe)(struct platform_device *pdev);
    int (*remove)(struct platform_device *pdev);
    unsigned long kernel_record[96];
};

/*
 * Serialise the measurements that drive shared hardware monitors, and whatever drives the EMI
 * channels and broadcast mode. The second is taken inside the first, or alone.
 */
extern struct mutex ovk_measurement_mutex;
extern struct mutex ovk_emi_mutex;

/* Log and text. The formats are the kernel's, %pOF and %pOFn included. */
KERNEL_PRINTF(1, 2) int KERNEL_SERVICE(printk)(const char *fmt, ...) BOUND_TO(printk);
KERNEL_PRINTF(3, 4)
int KERNEL_SERVICE(snprintf)(char *buf, size_t size, const char *fmt, ...) BOUND_TO(snprintf);
int KERNEL_SERVICE(vscnprintf)(char *buf, size_t size, const char *fmt, va_list args)
    BOUND_TO(vscnprintf);
KERNEL_SCANF(2, 3)
int KERNEL_SERVICE(sscanf)(const char *buf, const char *fmt, ...) BOUND_TO(sscanf);
int KERNEL_SERVICE(kstrtouint)(const char *s, unsigned int base, unsigned int *res)
    BOUND_TO(kstrtouint);
int KERNEL_SERVICE(kstrtobool)(const char *s, bool *res) BOUND_TO(kstrtobool);
int KERNEL_SERVICE(strncmp)(const char *a, const char *b, size_t count) BOUND_TO(strncmp);

/* Memory. A request of zero bytes yields a non-null pointer that only kfree may take. */
void *KERNEL_SERVICE(kmalloc)(size_t size, gfp_t flags) BOUND_TO(kmalloc);
void *KERNEL_SERVICE(kmalloc_array)(size_t count, size_t size, gfp_t flags) BOUND_TO(kmalloc_array);
void KERNEL_SERVICE(kfree)(const void *memory) BOUND_TO(kfree);
void *KERNEL_SERVICE(devm_kmalloc)(struct device *dev, size_t size, gfp_t flags)
    BOUND_TO(devm_kmalloc);

/* Time and scheduling. */
void KERNEL_SERVICE(usleep_range)(unsigned long min_us, unsigned long max_us)
    BOUND_TO(usleep_range);
u64 KERNEL_SERVICE(ktime_get_ns)(void) BOUND_TO(ktime_get_ns);
int KERNEL_SERVICE(cond_resched)(void) BOUND_TO(cond_resched);
void KERNEL_SERVICE(cpu_relax)(void) BOUND_TO(cpu_relax);
int KERNEL_SERVICE(mutex_lock_killable)(struct mutex *lock) BOUND_TO(mutex_lock_killable);
void KERNEL_SERVICE(mutex_unlock)(struct mutex *lock) BOUND_TO(mutex_unlock);
/* fatal_signal_pending(current) */
bool KERNEL_SERVICE(fatal_signal_pending_of_current)(void)
    BOUND_TO(fatal_signal_pending_of_current);
/* signal_pending(current): any signal, also one that the process handles, and the freezer's */
bool KERNEL_SERVICE(signal_pending_of_current)(void) BOUND_TO(signal_pending_of_current);

/* Register windows. The _relaxed accessors order against the device, not against memory. */
void __iomem *KERNEL_SERVICE(of_iomap)(struct device_node *node, int index) BOUND_TO(of_iomap);
void __iomem *KERNEL_SERVICE(ioremap)(u64 physical_address, size_t size) BOUND_TO(ioremap);
void KERNEL_SERVICE(iounmap)(void __iomem *addr) BOUND_TO(iounmap);
u16 KERNEL_SERVICE(readw_relaxed)(const void __iomem *addr) BOUND_TO(readw_relaxed);
u32 KERNEL_SERVICE(readl_relaxed)(const void __iomem *addr) BOUND_TO(readl_relaxed);
u64 KERNEL_SERVICE(readq_relaxed)(const void __iomem *addr) BOUND_TO(readq_relaxed);
void KERNEL_SERVICE(writel_relaxed)(u32 value, void __iomem *addr) BOUND_TO(writel_relaxed);
void KERNEL_SERVICE(writeq_relaxed)(u64 value, void __iomem *addr) BOUND_TO(writeq_relaxed);
void KERNEL_SERVICE(writel)(u32 value, void __iomem *addr) BOUND_TO(writel);
void KERNEL_SERVICE(wmb)(void) BOUND_TO(wmb);

/*
 * Device tree. The find functions take over the caller's reference to `from` (or `prev`) and hand
 * out one to the node they return.
 */
struct device_node *KERNEL_SERVICE(of_find_node_by_name)(struct device_node *from, const char *name)
    BOUND_TO(of_find_node_by_name);
struct device_node *KERNEL_SERVICE(of_find_node_by_type)(struct device_node *from, const char *type)
    BOUND_TO(of_find_node_by_type);
struct device_node *KERNEL_SERVICE(of_get_next_available_child)(const struct device_node *node,
                                                                struct device_node *prev)
    BOUND_TO(of_get_next_available_child);
struct device_node *KERNEL_SERVICE(of_parse_phandle)(const struct device_node *node,
                                                     const char *property, int index)
    BOUND_TO(of_parse_phandle);
struct device_node *KERNEL_SERVICE(of_node_get)(struct device_node *node) BOUND_TO(of_node_get);
void KERNEL_SERVICE(of_node_put)(struct device_node *node) BOUND_TO(of_node_put);
bool KERNEL_SERVICE(of_device_is_available)(const struct device_node *node)
    BOUND_TO(of_device_is_available);
bool KERNEL_SERVICE(of_node_name_eq)(const struct device_node *node, const char *name)
    BOUND_TO(of_node_name_eq);
struct property *KERNEL_SERVICE(of_find_property)(const struct device_node *node, const char *name,
                                                  int *length) BOUND_TO(of_find_property);
int KERNEL_SERVICE(of_property_read_string)(const struct device_node *node, const char *name,
                                            const char **value) BOUND_TO(of_property_read_string);
int KERNEL_SERVICE(of_property_read_variable_u32_array)(const struct device_node *node,
                                                        const char *name, u32 *values, size_t min,
                                                        size_t max)
    BOUND_TO(of_property_read_variable_u32_array);
int KERNEL_SERVICE(of_property_count_elems_of_size)(const struct device_node *node,
                                                    const char *name, int size)
    BOUND_TO(of_property_count_elems_of_size);

/* Drivers and devices. */
int KERNEL_SERVICE(platform_driver_register)(struct ovk_platform_driver *driver)
    BOUND_TO(platform_driver_register);
void KERNEL_SERVICE(platform_driver_unregister)(struct ovk_platform_driver *driver)
    BOUND_TO(platform_driver_unregister);
struct device_driver *KERNEL_SERVICE(driver_find)(const char *name, struct bus_type *bus)
    BOUND_TO(driver_find);
int KERNEL_SERVICE(driver_create_file)(struct device_driver *driver,
                                       struct ovk_driver_attribute *attribute)
    BOUND_TO(driver_create_file);
struct device *KERNEL_SERVICE(platform_device_dev)(struct platform_device *pdev)
    BOUND_TO(platform_device_dev); /* &pdev->dev */
struct resource *KERNEL_SERVICE(platform_get_resource)(struct platform_device *pdev,
                                                       unsigned int type, unsigned int index)
    BOUND_TO(platform_get_resource);
void __iomem *KERNEL_SERVICE(devm_ioremap_resource)(struct device *dev, struct resource *res)
    BOUND_TO(devm_ioremap_resource);
const void *KERNEL_SERVICE(of_device_get_match_data)(const struct device *dev)
    BOUND_TO(of_device_get_match_data);
void KERNEL_SERVICE(dev_set_drvdata)(struct device *dev, void *data) BOUND_TO(dev_set_drvdata);
void *KERNEL_SERVICE(dev_get_drvdata)(const struct device *dev) BOUND_TO(dev_get_drvdata);

/* The sibling modules ovk-dramc and ovk-smi-tv. */
u32 KERNEL_SERVICE(ovk_dramc_get_support_channel_num)(void)
    BOUND_TO(ovk_dramc_get_support_channel_num);
u32 KERNEL_SERVICE(ovk_dramc_get_freq)(u32 channel) BOUND_TO(ovk_dramc_get_freq);
int KERNEL_SERVICE(ovk_miu2gmc_mask)(int id, int port, bool enable) BOUND_TO(ovk_miu2gmc_mask);

#ifdef __cplusplus
} /* extern "C" */

using driver_attribute = ovk_driver_attribute;
using dev_pm_ops = ovk_dev_pm_ops;
using platform_driver = ovk_platform_driver;

inline bool IS_ERR(const void *pointer) {
    return reinterpret_cast<size_t>(pointer) >= static_cast<size_t>(-4095);
}
inline long PTR_ERR(const void *pointer) {
    return reinterpret_cast<long>(pointer);
}
#endif

#endif /* OVK_PLATFORM_KERNEL_H */
