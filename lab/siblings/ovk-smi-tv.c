// SPDX-License-Identifier: GPL-2.0-only
/*
 * Stand-in for the SMI module: masks a port in the register of its MIU2GMC and keeps the last
 * request where user space can read it (/sys/module/ovk_smi_tv/parameters/).
 */
#include <linux/bits.h>
#include <linux/errno.h>
#include <linux/io.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/moduleparam.h>
#include <linux/mutex.h>
#include <linux/of.h>
#include <linux/of_address.h>

#include "platform/linux/siblings.h"

#define PORT_MASK_REGISTER 0x40 /* one bit per port */
#define PORT_COUNT	   32

static bool refuse;
module_param(refuse, bool, 0644);
MODULE_PARM_DESC(refuse, "answer every request with -EINVAL");

static unsigned int requests;
module_param(requests, uint, 0444);
MODULE_PARM_DESC(requests, "number of requests so far, refused ones included");

static int last_id = -1;
module_param(last_id, int, 0444);
MODULE_PARM_DESC(last_id, "MIU2GMC of the last request");

static int last_port = -1;
module_param(last_port, int, 0444);
MODULE_PARM_DESC(last_port, "port of the last request");

static bool last_enable;
module_param(last_enable, bool, 0444);
MODULE_PARM_DESC(last_enable, "whether the last request was to mask");

static DEFINE_MUTEX(request_lock);

static void record_request(int id, int port, bool enable)
{
	requests++;
	last_id = id;
	last_port = port;
	last_enable = enable;
	pr_info("ovk-smi-tv: miu2gmc%d port %d %s\n", id, port, enable ? "mask" : "unmask");
}

static void __iomem *map_miu2gmc(int id)
{
	char name[sizeof("miu2gmc-2147483648")];
	struct device_node *node;
	void __iomem *base;

	snprintf(name, sizeof(name), "miu2gmc%d", id);
	node = of_find_node_by_name(NULL, name);
	base = node ? of_iomap(node, 0) : NULL;
	of_node_put(node);
	return base;
}

static int apply_mask(int id, int port, bool enable)
{
	void __iomem *base;
	u32 mask;

	if (refuse || port < 0 || port >= PORT_COUNT)
		return -EINVAL;
	base = map_miu2gmc(id);
	if (!base)
		return -ENODEV;

	mask = readl(base + PORT_MASK_REGISTER) & ~BIT(port);
	if (enable)
		mask |= BIT(port);
	writel(mask, base + PORT_MASK_REGISTER);
	iounmap(base);
	return 0;
}

int ovk_miu2gmc_mask(int id, int port, bool enable)
{
	int result;

	mutex_lock(&request_lock);
	record_request(id, port, enable);
	result = apply_mask(id, port, enable);
	mutex_unlock(&request_lock);
	return result;
}
EXPORT_SYMBOL_GPL(ovk_miu2gmc_mask);

MODULE_LICENSE("GPL");
MODULE_AUTHOR("The ovk_bw maintainers");
MODULE_DESCRIPTION("Stand-in for the SMI module's port masking");
