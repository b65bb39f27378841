// SPDX-License-Identifier: GPL-2.0-only
// Read and write handlers of the attributes. A read returns the length of its report or a negative
// error code; a write returns the length it was given, also when it refuses the text (but for
// cpupri_store).
#pragma once

#include "platform/kernel.h"

extern "C" {

ssize_t debug_log_on_show(device_driver *driver, char *buf);
ssize_t debug_log_on_store(device_driver *driver, const char *buf, size_t count);
ssize_t reg_op_show(device_driver *driver, char *buf);
ssize_t reg_op_store(device_driver *driver, const char *buf, size_t count);

ssize_t fake_engine_show(device_driver *driver, char *buf);
ssize_t fake_engine_store(device_driver *driver, const char *buf, size_t count);
ssize_t fake_eng_loop_store(device_driver *driver, const char *buf, size_t count);

ssize_t bw_total_show(device_driver *driver, char *buf);
ssize_t bw_total_store(device_driver *driver, const char *buf, size_t count);
ssize_t simple_mon_store(device_driver *driver, const char *buf, size_t count);

ssize_t bw_larb_show(device_driver *driver, char *buf);
ssize_t bw_larb_store(device_driver *driver, const char *buf, size_t count);

ssize_t bw_scomm_show(device_driver *driver, char *buf);
ssize_t bw_scomm_store(device_driver *driver, const char *buf, size_t count);

ssize_t bw_emi_show(device_driver *driver, char *buf);
ssize_t bw_emi_store(device_driver *driver, const char *buf, size_t count);
ssize_t bw_emi_detail_store(device_driver *driver, const char *buf, size_t count);

ssize_t bw_bus_show(device_driver *driver, char *buf);

ssize_t bw_emi_lmt_show(device_driver *driver, char *buf);
ssize_t bw_emi_lmt_store(device_driver *driver, const char *buf, size_t count);
ssize_t bw_emi_timer_show(device_driver *driver, char *buf);
ssize_t bw_emi_timer_store(device_driver *driver, const char *buf, size_t count);
ssize_t bw_emi_ostd_show(device_driver *driver, char *buf);
ssize_t bw_emi_ostd_store(device_driver *driver, const char *buf, size_t count);

ssize_t larb_ostdl_show(device_driver *driver, char *buf);
ssize_t larb_ostdl_store(device_driver *driver, const char *buf, size_t count);
ssize_t larb_config_store(device_driver *driver, const char *buf, size_t count);

ssize_t cpupri_show(device_driver *driver, char *buf);
ssize_t cpupri_store(device_driver *driver, const char *buf, size_t count);
ssize_t cpupri_slot_show(device_driver *driver, char *buf);

ssize_t mask_store(device_driver *driver, const char *buf, size_t count);

ssize_t fifo_status_show(device_driver *driver, char *buf);
ssize_t fifo_status_store(device_driver *driver, const char *buf, size_t count);
ssize_t fifo_status_clear_store(device_driver *driver, const char *buf, size_t count);

ssize_t ip_config_show(device_driver *driver, char *buf);
ssize_t larb_module_list_show(device_driver *driver, char *buf);
ssize_t emi_setting_show(device_driver *driver, char *buf);

}  // extern "C"
