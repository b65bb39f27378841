/* SPDX-License-Identifier: GPL-2.0-only */
/* What the sibling modules of this platform export to ovk_bw. */
#ifndef OVK_PLATFORM_LINUX_SIBLINGS_H
#define OVK_PLATFORM_LINUX_SIBLINGS_H

#include <linux/types.h>

/* ovk-dramc: number of DRAM channels (0: not known) and the clock of one in MT/s (0: not known). */
u32 ovk_dramc_get_support_channel_num(void);
u32 ovk_dramc_get_freq(u32 channel);

/* ovk-smi-tv: masks (true) or unmasks a port of a MIU2GMC. 0 or a negative error code. */
int ovk_miu2gmc_mask(int id, int port, bool enable);

#endif /* OVK_PLATFORM_LINUX_SIBLINGS_H */
