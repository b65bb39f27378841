// SPDX-License-Identifier: GPL-2.0-only
// Read and write handlers of the attributes. A read returns the length of its report or a negative
// error code; a write returns the length it was given, also when it refuses the text.
#pragma once

#include "platform/kernel.h"

extern "C" {

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

ssize_t ip_config_show(device_driver *driver, char *buf);
ssize_t larb_module_list_show(device_driver *driver, char *buf);
ssize_t emi_setting_show(device_driver *driver, char *buf);

}  // extern "C"
