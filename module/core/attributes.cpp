// SPDX-License-Identifier: GPL-2.0-only
#include "core/attributes.h"

#include "core/handlers.h"

static constexpr umode_t read_write = 0644;
static constexpr umode_t read_only = 0444;
static constexpr umode_t write_only = 0200;
static constexpr umode_t group_write = 0020;

#define ATTRIBUTE(attribute, permissions, show_handler, store_handler)         \
    static driver_attribute driver_attr_##attribute = {.name = #attribute,     \
                                                       .mode = permissions,    \
                                                       .show = show_handler,   \
                                                       .store = store_handler, \
                                                       .kernel_record = {}}

ATTRIBUTE(debug_log_on, read_write, debug_log_on_show, debug_log_on_store);
ATTRIBUTE(reg_op, read_write, reg_op_show, reg_op_store);
ATTRIBUTE(fake_engine, read_write, fake_engine_show, fake_engine_store);
ATTRIBUTE(fake_eng_loop, write_only, nullptr, fake_eng_loop_store);
ATTRIBUTE(bw_total, read_write, bw_total_show, bw_total_store);
ATTRIBUTE(bw_larb, read_write, bw_larb_show, bw_larb_store);
ATTRIBUTE(bw_scomm, read_write, bw_scomm_show, bw_scomm_store);
ATTRIBUTE(bw_emi, read_write, bw_emi_show, bw_emi_store);
ATTRIBUTE(bw_bus, read_only, bw_bus_show, nullptr);
ATTRIBUTE(bw_emi_detail, write_only, nullptr, bw_emi_detail_store);
ATTRIBUTE(bw_emi_lmt, read_write, bw_emi_lmt_show, bw_emi_lmt_store);
ATTRIBUTE(bw_emi_timer, read_write, bw_emi_timer_show, bw_emi_timer_store);
ATTRIBUTE(bw_emi_ostd, read_write, bw_emi_ostd_show, bw_emi_ostd_store);
ATTRIBUTE(ip_config, read_only, ip_config_show, nullptr);
ATTRIBUTE(larb_module_list, read_only, larb_module_list_show, nullptr);
ATTRIBUTE(simple_mon, write_only, nullptr, simple_mon_store);
ATTRIBUTE(larb_config, write_only, nullptr, larb_config_store);
ATTRIBUTE(cpupri_slot, read_only, cpupri_slot_show, nullptr);
ATTRIBUTE(cpupri, read_write, cpupri_show, cpupri_store);
ATTRIBUTE(mask, write_only, nullptr, mask_store);
ATTRIBUTE(emi_setting, read_only, emi_setting_show, nullptr);
ATTRIBUTE(larb_ostdl, read_write, larb_ostdl_show, larb_ostdl_store);
ATTRIBUTE(fifo_status, read_write, fifo_status_show, fifo_status_store);
ATTRIBUTE(fifo_status_clear, write_only, nullptr, fifo_status_clear_store);

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

struct attribute_row {
    driver_attribute *record;
    const attribute_group *group;
    const char *failure_level;
    const char *failure_label = nullptr;  // in the failure message, where it isn't the name
    umode_t extra_mode = 0;               // permissions added right before creation
};

static constexpr attribute_row attribute_table[] = {
    {&driver_attr_debug_log_on, &direct, KERN_ERR},
    {&driver_attr_reg_op, &direct, KERN_ERR, "regop"},
    {&driver_attr_fake_engine, &fake_engine_node, KERN_ERR},
    {&driver_attr_fake_eng_loop, &fake_engine_node, KERN_ERR},
    {&driver_attr_bw_total, &bw_monitor_related_node, KERN_ERR},
    {&driver_attr_bw_larb, &bw_monitor_related_node, KERN_ERR},
    {&driver_attr_bw_scomm, &bw_monitor_related_node, KERN_ERR},
    {&driver_attr_bw_emi, &bw_monitor_related_node, KERN_NOTICE},
    {&driver_attr_bw_bus, &bw_monitor_related_node, KERN_NOTICE},
    {&driver_attr_bw_emi_detail, &bw_monitor_related_node, KERN_NOTICE},
    {&driver_attr_bw_emi_lmt, &bw_monitor_related_node, KERN_NOTICE},
    {&driver_attr_bw_emi_timer, &bw_monitor_related_node, KERN_NOTICE},
    {&driver_attr_bw_emi_ostd, &bw_monitor_related_node, KERN_NOTICE},
    {&driver_attr_ip_config, &bw_config_related_node, KERN_ERR},
    {&driver_attr_larb_module_list, &bw_config_related_node, KERN_ERR},
    {&driver_attr_simple_mon, &bw_config_related_node, KERN_NOTICE},
    {&driver_attr_larb_config, &bw_config_related_node, KERN_ERR},
    {&driver_attr_cpupri_slot, &bw_config_related_node, KERN_ERR},
    // Address ranges are also set by a service that is not root but of root's group.
    {&driver_attr_cpupri, &bw_config_related_node, KERN_ERR, nullptr, group_write},
    {&driver_attr_mask, &bw_config_related_node, KERN_ERR},
    {&driver_attr_emi_setting, &bw_config_related_node, KERN_NOTICE},
    {&driver_attr_larb_ostdl, &bw_config_related_node, KERN_ERR},
    {&driver_attr_fifo_status, &ip_related_node, KERN_ERR},
    {&driver_attr_fifo_status_clear, &ip_related_node, KERN_ERR},
};

static void log_failure(const attribute_row &row) {
    printk("%s[OVK_BW]%s create attribute error\n", row.failure_level,
           row.failure_label ? row.failure_label : row.record->name);
    if (row.group->failure) {
        printk(KERN_ERR "%s", row.group->failure);
    }
    printk(KERN_ERR "[OVK_BW]Failed to create_sysfs_node\n");
}

int create_sysfs_node() {
    device_driver *driver = driver_find("ovk-bw", &platform_bus_type);

    for (const attribute_row &row : attribute_table) {
        row.record->mode |= row.extra_mode;
        const int error = driver_create_file(driver, row.record);
        if (error != 0) {
            log_failure(row);
            return error;
        }
    }
    return 0;
}
