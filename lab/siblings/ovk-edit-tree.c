// SPDX-License-Identifier: GPL-2.0-only
/*
 * Spoils the live device tree while it is loaded: takes a property of one or more nodes away, or
 * puts a text or a cell in its place.
 *
 *   modprobe ovk-edit-tree nodes=/emi_arch property=emi_cnt
 *   modprobe ovk-edit-tree nodes=/bw_modules/bw_gop property=module-name text=GOX
 *   modprobe ovk-edit-tree nodes=/dram_config property=dram_clock cell=2133
 */
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/moduleparam.h>
#include <linux/of.h>
#include <linux/slab.h>
#include <linux/string.h>

#define MAX_NODES 64

static char *nodes[MAX_NODES];
static unsigned int node_count;
module_param_array(nodes, charp, &node_count, 0444);
MODULE_PARM_DESC(nodes, "full paths of the nodes");

static char *property;
module_param(property, charp, 0444);
MODULE_PARM_DESC(property, "name of the property");

static char *text;
module_param(text, charp, 0444);
MODULE_PARM_DESC(text, "put this text in its place");

static long cell = -1;
module_param(cell, long, 0444);
MODULE_PARM_DESC(cell, "put this number in its place");

static struct edit {
	struct device_node *node;
	struct property *original;
	struct property *replacement;
} edits[MAX_NODES];

/* What is added to a tree stays its own for ever, as nobody knows who still looks at it. */
static struct property *new_property(const char *name, const void *value, int length)
{
	struct property *made = kzalloc(sizeof(*made), GFP_KERNEL);

	if (!made)
		return NULL;
	made->name = kstrdup(name, GFP_KERNEL);
	made->value = kmemdup(value, length, GFP_KERNEL);
	made->length = length;
	return made;
}

static struct property *new_replacement(void)
{
	__be32 value = cpu_to_be32(cell);

	if (text)
		return new_property(property, text, strlen(text) + 1);
	if (cell >= 0)
		return new_property(property, &value, sizeof(value));
	return NULL;
}

static int apply(struct edit *edit, const char *path)
{
	int error;

	edit->node = of_find_node_by_path(path);
	if (!edit->node)
		return -ENOENT;
	edit->original = of_find_property(edit->node, property, NULL);
	if (!edit->original)
		return -ENOENT;
	error = of_remove_property(edit->node, edit->original);
	edit->replacement = new_replacement();
	if (!error && edit->replacement)
		error = of_add_property(edit->node, edit->replacement);
	return error;
}

static void revert(struct edit *edit)
{
	const struct property *original = edit->original;

	if (edit->replacement)
		of_remove_property(edit->node, edit->replacement);
	if (original)
		of_add_property(edit->node,
				new_property(original->name, original->value, original->length));
	of_node_put(edit->node);
}

static void revert_all(void)
{
	unsigned int i;

	for (i = 0; i < node_count; i++)
		revert(&edits[i]);
}

static int __init edit_tree(void)
{
	unsigned int i;
	int error;

	if (!property)
		return -EINVAL;
	for (i = 0; i < node_count; i++) {
		error = apply(&edits[i], nodes[i]);
		if (error) {
			pr_err("ovk-edit-tree: %s: %s: %d\n", nodes[i], property, error);
			revert_all();
			return error;
		}
	}
	return 0;
}
module_init(edit_tree);

static void __exit restore_tree(void)
{
	revert_all();
}
module_exit(restore_tree);

MODULE_LICENSE("GPL");
MODULE_AUTHOR("The ovk_bw maintainers");
MODULE_DESCRIPTION("Spoils the live device tree for a while");
