// SPDX-License-Identifier: GPL-2.0-only
// Module entry and exit.
#include "control/fifo.h"
#include "core/attributes.h"
#include "core/config.h"
#include "core/module_list.h"
#include "core/mon_cfg.h"
#include "debug/fake_engine.h"
#include "effi/effi_driver.h"

// Binds to no device: it is there for its directory, which carries the attributes.
static platform_driver ovk_bw_driver = {
    .name = "ovk-bw",
    .of_match_table = nullptr,
    .pm = nullptr,
    .probe = nullptr,
    .remove = nullptr,
    .kernel_record = {},
};

static bool effi_driver_registered;
static bool bw_driver_registered;

static int register_driver(platform_driver &driver, bool &registered, const char *failure) {
    const int error = platform_driver_register(&driver);

    if (error != 0) {
        printk(KERN_ERR "%s", failure);
    }
    registered = error == 0;
    return error;
}

static int register_drivers() {
    const int error = register_driver(ovk_effi_driver, effi_driver_registered,
                                      "[OVK_BW]Failed to register ovk_effi_monitor driver\n");

    if (error != 0) {
        return error;
    }
    return register_driver(ovk_bw_driver, bw_driver_registered,
                           "[OVK_BW]Failed to register ovk_bw_monitor driver\n");
}

static s32 prepare_measurement() {
    if (!set_module_list(fake_engines)) {
        printk(KERN_ERR "[OVK_BW]set_module_list error\n");
        return -1;
    }
    find_reference_modules();
    const s32 error = set_fifo_list();
    if (error != 0) {
        printk(KERN_ERR "[OVK_BW]set_fifo_list error\n");
        return error;
    }
    if (!set_bw_monitor_default_cfg()) {
        printk(KERN_ERR "[OVK_BW]set set_bw_monitor_default_cfg error\n");
        return -1;
    }
    return 0;
}

static s32 ovk_bw_measure_init() {
    const s32 error = prepare_measurement();

    if (error != 0) {
        printk(KERN_ERR "[OVK_BW]Failed to init ovk_bw_measure_init\n");
    }
    return error;
}

// The efficiency driver's probe may run as soon as it is registered and needs the DRAM frequency;
// a handler may run as soon as its attribute exists and needs everything.
static int start_up() {
    ovk_bw_query_dramc();
    if (!ovk_bw_setup_dram_config()) {
        printk(KERN_ERR "[OVK_BW]Failed to init ovk_bw_setup_dram_config\n");
        return -1;
    }
    int error = register_drivers();
    if (error != 0) {
        return error;
    }
    if (!ovk_bw_setup_emi_arch_config()) {
        printk(KERN_ERR "[OVK_BW]Failed to init ovk_bw_setup_emi_arch_config\n");
        return -1;
    }
    error = ovk_bw_measure_init();
    if (error != 0) {
        return error;
    }
    return create_sysfs_node();
}

// Undoes as much of start_up as was done. Unregistering a driver waits for its handlers, so the
// lists that they read are freed only after that; so does stopping what they have left running.
static void tear_down() {
    end_software_loops();
    if (effi_driver_registered) {
        platform_driver_unregister(&ovk_effi_driver);
        effi_driver_registered = false;
    }
    if (bw_driver_registered) {
        platform_driver_unregister(&ovk_bw_driver);
        bw_driver_registered = false;
    }
    stop_hardware_loops();
    release_engines();
    release_module_list();
    release_fifo_list();
    ovk_bw_release_dramc();
}

extern "C" __visible int init_module() {
    const int error = start_up();

    if (error != 0) {
        tear_down();
    }
    return error;
}

extern "C" __visible void cleanup_module() {
    tear_down();
}
