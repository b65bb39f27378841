// SPDX-License-Identifier: GPL-2.0-only
#include "core/attributes.h"

#include "base/handler.h"

static constexpr umode_t read_write = 0644;
static constexpr umode_t read_only = 0444;
static constexpr umode_t write_only = 0200;
static constexpr umode_t group_write = 0020;

// Attributes are created in groups, each with a failure message of its own.
struct attribute_group {
    const char *failure;  // log message without its level; null: the group has none
};

static constexpr attribute_group direct{nullptr};
static constexpr attribute_group fake_engine_node{"[OVK_BW]create_fake_engine_node fail\n"};
static constexpr attribute_group bw_monitor_related_node{
    "[OVK_BW]create_bw_monitor_related_node fail\n"};
static constexpr attribute_group bw_config_related_node{
    "[OVK_BW]create_bw_config_related_node fail\n"};
static constexpr attribute_group ip_related_node{"[OVK_BW]create_ip_related_node fail\n"};

// Every attribute, in the order of creation: its name and handlers, permissions, group, and the
// level of the message that it can't be created.
#define ATTRIBUTES(BOTH, SHOWN, STORED)                         \
    BOTH(debug_log_on, direct, KERN_ERR)                        \
    BOTH(reg_op, direct, KERN_ERR)                              \
    BOTH(fake_engine, fake_engine_node, KERN_ERR)               \
    STORED(fake_eng_loop, fake_engine_node, KERN_ERR)           \
    BOTH(bw_total, bw_monitor_related_node, KERN_ERR)           \
    BOTH(bw_larb, bw_monitor_related_node, KERN_ERR)            \
    BOTH(bw_scomm, bw_monitor_related_node, KERN_ERR)           \
    BOTH(bw_emi, bw_monitor_related_node, KERN_NOTICE)          \
    SHOWN(bw_bus, bw_monitor_related_node, KERN_NOTICE)         \
    STORED(bw_emi_detail, bw_monitor_related_node, KERN_NOTICE) \
    BOTH(bw_emi_lmt, bw_monitor_related_node, KERN_NOTICE)      \
    BOTH(bw_emi_timer, bw_monitor_related_node, KERN_NOTICE)    \
    BOTH(bw_emi_ostd, bw_monitor_related_node, KERN_NOTICE)     \
    SHOWN(ip_config, bw_config_related_node, KERN_ERR)          \
    SHOWN(larb_module_list, bw_config_related_node, KERN_ERR)   \
    STORED(simple_mon, bw_config_related_node, KERN_NOTICE)     \
    STORED(larb_config, bw_config_related_node, KERN_ERR)       \
    SHOWN(cpupri_slot, bw_config_related_node, KERN_ERR)        \
    BOTH(cpupri, bw_config_related_node, KERN_ERR)              \
    STORED(mask, bw_config_related_node, KERN_ERR)              \
    SHOWN(emi_setting, bw_config_related_node, KERN_NOTICE)     \
    BOTH(larb_ostdl, bw_config_related_node, KERN_ERR)          \
    BOTH(fifo_status, ip_related_node, KERN_ERR)                \
    STORED(fifo_status_clear, ip_related_node, KERN_ERR)

#define RECORD(attribute, permissions, show_handler, store_handler)            \
    static driver_attribute driver_attr_##attribute = {.name = #attribute,     \
                                                       .mode = permissions,    \
                                                       .show = show_handler,   \
                                                       .store = store_handler, \
                                                       .kernel_record = {}}
#define RECORD_BOTH(attribute, group, level) \
    SHOW_HANDLER(attribute);                 \
    STORE_HANDLER(attribute);                \
    RECORD(attribute, read_write, attribute##_show, attribute##_store);
#define RECORD_SHOWN(attribute, group, level) \
    SHOW_HANDLER(attribute);                  \
    RECORD(attribute, read_only, attribute##_show, nullptr);
#define RECORD_STORED(attribute, group, level) \
    STORE_HANDLER(attribute);                  \
    RECORD(attribute, write_only, nullptr, attribute##_store);

ATTRIBUTES(RECORD_BOTH, RECORD_SHOWN, RECORD_STORED)

struct attribute_row {
    driver_attribute *record;
    const attribute_group *group;
    const char *failure_level;
};

#define ROW(attribute, group, level) {&driver_attr_##attribute, &(group), level},

static constexpr attribute_row attribute_table[] = {ATTRIBUTES(ROW, ROW, ROW)};

// In the failure message one attribute goes by another name.
static const char *label_of(const driver_attribute &record) {
    return &record == &driver_attr_reg_op ? "regop" : record.name;
}

// Address ranges are also set by a service that is not root but of root's group.
static umode_t added_mode(const driver_attribute &record) {
    return &record == &driver_attr_cpupri ? group_write : 0;
}

static void log_failure(const attribute_row &row) {
    printk("%s[OVK_BW]%s create attribute error\n", row.failure_level, label_of(*row.record));
    if (row.group->failure) {
        printk(KERN_ERR "%s", row.group->failure);
    }
    printk(KERN_ERR "[OVK_BW]Failed to create_sysfs_node\n");
}

int create_sysfs_node() {
    device_driver *driver = driver_find("ovk-bw", &platform_bus_type);

    for (const attribute_row &row : attribute_table) {
        row.record->mode |= added_mode(*row.record);
        const int error = driver_create_file(driver, row.record);
        if (error != 0) {
            log_failure(row);
            return error;
        }
    }
    return 0;
}
