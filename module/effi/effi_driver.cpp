// SPDX-License-Identifier: GPL-2.0-only
#include "effi/effi_driver.h"

#include "core/config.h"
#include "effi/effi_tables.h"
#include "registers/effi_monitor.h"

struct effi_drvdata {
    void __iomem *base;
    const u32 *row;  // effi_words configuration words
};

// The fastest channel decides, since the monitors run at its pace. The device tree's DRAM clock
// stands in when no channel frequency is known.
static u32 running_frequency() {
    u32 highest = 0;

    for (u32 i = 0; i < _dramc_info.channel_cnt; i++) {
        highest = _dramc_info.freq[i] > highest ? _dramc_info.freq[i] : highest;
    }
    return highest != 0 ? highest : dram_clock;
}

// An unknown frequency takes the first row.
static u32 row_index(const effi_info &info, u32 frequency) {
    for (u32 i = 0; info.idx2freq && i < info.freq_cnt; i++) {
        if (info.idx2freq[i] == frequency) {
            return i;
        }
    }
    return 0;
}

static void write_row(const effi_drvdata &monitor) {
    char __iomem *config = static_cast<char __iomem *>(monitor.base) + effi_config;

    for (u32 k = 0; k < effi_words; k++) {
        writel(monitor.row[k], config + k * sizeof(u32));
    }
}

extern "C" {

static int ovk_effi_probe(platform_device *pdev) {
    device *dev = platform_device_dev(pdev);
    auto *monitor = static_cast<effi_drvdata *>(
        devm_kmalloc(dev, sizeof(effi_drvdata), GFP_KERNEL | __GFP_ZERO));

    if (!monitor) {
        return -ENOMEM;
    }
    monitor->base = devm_ioremap_resource(dev, platform_get_resource(pdev, IORESOURCE_MEM, 0));
    if (IS_ERR(monitor->base)) {
        return static_cast<int>(PTR_ERR(monitor->base));
    }
    const auto *info = static_cast<const effi_info *>(of_device_get_match_data(dev));
    if (!info || !info->table) {
        return -EINVAL;
    }
    const u32 index = row_index(*info, running_frequency());
    printk(KERN_ERR "effi table idx: [%u]\n", index);
    monitor->row = info->table[index];
    write_row(*monitor);
    dev_set_drvdata(dev, monitor);
    return 0;
}

static int ovk_effi_remove(platform_device *) {
    printk(KERN_INFO "[OVK_BW] OVK EFFI Remove\n");
    return 0;
}

static int ovk_effi_suspend(device *) {
    printk(KERN_INFO "[OVK_BW] OVK EFFI Suspend\n");
    return 0;
}

static int ovk_effi_resume(device *dev) {
    printk(KERN_INFO "[OVK_BW] OVK EFFI Resume\n");
    write_row(*static_cast<const effi_drvdata *>(dev_get_drvdata(dev)));
    return 0;
}

extern const of_device_id ovk_effi_of_ids[];
const of_device_id ovk_effi_of_ids[] = {
    {.name = "", .type = "", .compatible = "quorix,zt410-effi-mon", .data = &zt410_effi_info},
    {.name = "", .type = "", .compatible = "quorix,zt420-effi-mon", .data = &zt420_effi_info},
    {.name = "", .type = "", .compatible = "quorix,zt430-effi-mon", .data = &zt430_effi_info},
    {.name = "", .type = "", .compatible = "quorix,zt440-effi-mon", .data = &zt440_effi_info},
    {},
};

}  // extern "C"

MODULE_DEVICE_TABLE(of, ovk_effi_of_ids);

static const dev_pm_ops effi_pm_ops = {
    .suspend = ovk_effi_suspend,
    .resume = ovk_effi_resume,
    .freeze = ovk_effi_suspend,
    .thaw = ovk_effi_resume,
    .poweroff = ovk_effi_suspend,
    .restore = ovk_effi_resume,
};

platform_driver ovk_effi_driver = {
    .name = "ovk-effi",
    .of_match_table = ovk_effi_of_ids,
    .pm = &effi_pm_ops,
    .probe = ovk_effi_probe,
    .remove = ovk_effi_remove,
    .kernel_record = {},
};
