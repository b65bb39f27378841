// SPDX-License-Identifier: GPL-2.0-only
/*
 * Stand-in for the DRAM controller's module: reports the channels that it is loaded with, for
 * instance "freq=3200,2666". Without the parameter it knows no channel.
 */
#include <linux/module.h>
#include <linux/moduleparam.h>
#include <linux/types.h>

#include "platform/linux/siblings.h"

#define MAX_CHANNELS 16

static unsigned int freq[MAX_CHANNELS];
static unsigned int channel_count;
module_param_array(freq, uint, &channel_count, 0444);
MODULE_PARM_DESC(freq, "clock of each DRAM channel, in MT/s");

u32 ovk_dramc_get_support_channel_num(void)
{
	return channel_count;
}
EXPORT_SYMBOL_GPL(ovk_dramc_get_support_channel_num);

u32 ovk_dramc_get_freq(u32 channel)
{
	if (channel >= channel_count)
		return 0;
	return freq[channel];
}
EXPORT_SYMBOL_GPL(ovk_dramc_get_freq);

MODULE_LICENSE("GPL");
MODULE_AUTHOR("The ovk_bw maintainers");
MODULE_DESCRIPTION("Stand-in for the DRAM controller's module");
