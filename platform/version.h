/* SPDX-License-Identifier: GPL-2.0-only */
/* The version of the module, the simulator and the packages. */
#ifndef OVK_PLATFORM_VERSION_H
#define OVK_PLATFORM_VERSION_H

#define OVK_VERSION "1.0.0"

#endif /* OVK_PLATFORM_VERSION_H */
