// SPDX-License-Identifier: GPL-2.0-only
#include "devicetree/flat_tree.h"

#include <map>

#include "tests/compiled.h"

namespace tests {

using devicetree::flat_tree;
using devicetree::node;
using std::string_literals::operator""s;

static const flat_tree &board() {
    static const flat_tree tree = compiled(R"(/dts-v1/;
/ { #address-cells = <2>; #size-cells = <1>;
    soc { #address-cells = <1>; #size-cells = <1>;
          ranges = <0x0 0x0 0x1c000000 0x100000>, <0x200000 0x1 0x0 0x1000>;
          larb4@84000 { reg = <0x84000 0x1000 0x85000 0x100>; list = <1 2 0xffffffff>;
                        word = "GOP", "GFX"; status = "okay"; };
          bus { #address-cells = <1>; #size-cells = <1>; ranges;
                far@200010 { reg = <0x200010 8>; status = "disabled"; };
                stray@900000 { reg = <0x900000 8>; }; };
          blind { #address-cells = <1>; #size-cells = <1>; inner@0 { reg = <0 4>; }; };
          common: smi_common0@1000 { reg = <0x1000 0x1000>; larb = <&common>; flag; }; };
    larb4 { }; };
)");
    return tree;
}

TEST(flat_tree, reads_properties_as_the_kernel_does) {
    const node &larb = *board().by_name("larb4");
    EXPECT_EQ(larb.u32_array("list"), (std::vector<std::uint32_t>{1, 2, 0xffffffff}));
    EXPECT_EQ(larb.u32("list"), 1u);
    EXPECT_EQ(larb.string("word"), "GOP");
    EXPECT_EQ(larb.string("list"), "");
    EXPECT_EQ(larb.u32("missing"), std::nullopt);
    const node &common = *board().by_name("smi_common0");
    EXPECT_TRUE(common.has("flag"));
    EXPECT_EQ(common.u32("flag"), std::nullopt);
    EXPECT_EQ(common.string("flag"), std::nullopt);
    EXPECT_EQ(board().by_phandle(*common.u32("larb")), &common);
    EXPECT_TRUE(larb.available());
    EXPECT_TRUE(common.available());
    EXPECT_FALSE(board().by_name("far")->available());
}

TEST(flat_tree, translates_addresses_through_every_bus) {
    const std::map<std::string, std::vector<std::pair<std::uint64_t, std::uint64_t>>> windows = {
        {"larb4", {{0x1c084000, 0x1000}, {0x1c085000, 0x100}}},
        {"far", {{0x100000010, 8}}},
        {"stray", {}},
        {"inner", {}}};
    for (const auto &[name, expected] : windows) {
        const std::vector<devicetree::range> &reg = board().by_name(name)->reg;
        ASSERT_EQ(reg.size(), expected.size()) << name;
        for (std::size_t i = 0; i < reg.size(); ++i) {
            EXPECT_EQ(std::pair(reg[i].start, reg[i].size), expected[i]) << name << " " << i;
        }
    }
}

TEST(flat_tree, varies_a_copy_and_leaves_the_original_alone) {
    const flat_tree &tree = board();
    const std::string path = "/soc/larb4@84000";
    const flat_tree varied = tree.with_u32(path, "a-new-property", 7)
                                 .with_property(path, "status", "disabled\0"s)
                                 .without_property(path, "word");
    EXPECT_EQ(varied.by_name("larb4")->u32("a-new-property"), 7u);
    EXPECT_FALSE(varied.by_name("larb4")->available());
    EXPECT_FALSE(varied.by_name("larb4")->has("word"));
    EXPECT_EQ(varied.without_node(path).by_name("larb4")->path, "/larb4");
    EXPECT_TRUE(tree.by_name("larb4")->has("word"));
    EXPECT_FALSE(tree.by_name("larb4")->has("a-new-property"));
    EXPECT_THROW(tree.with_u32("/nowhere", "x", 1), std::runtime_error);
    EXPECT_THROW(tree.without_property(path, "nothing"), std::runtime_error);
    EXPECT_THROW(tree.without_node("/nowhere"), std::runtime_error);
}

static std::string nested(int levels) {
    return levels == 0 ? "" : "node { " + nested(levels - 1) + " };";
}

// The root is a level of its own.
TEST(flat_tree, says_what_is_wrong_with_which_file) {
    const std::string file = "/tree_" + std::to_string(getpid()) + ".dts";
    for (const std::string &text : {"broken"s, nested(64)}) {
        try {
            compiled("/dts-v1/; / { " + text + " };");
            ADD_FAILURE() << "no objection to " << text;
        } catch (const std::runtime_error &error) {
            const std::string reason = text == "broken" ? "syntax error" : "64 levels";
            EXPECT_NE(std::string(error.what()).find(file), std::string::npos) << error.what();
            EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
        }
    }
    EXPECT_EQ(compiled("/dts-v1/; / { " + nested(63) + " };").nodes().size(), 64u);
    EXPECT_THROW(flat_tree::from_file("/nonexistent.dtb"), std::runtime_error);
    for (const std::string &blob : {"no blob"s, std::string(100, 'x')}) {
        EXPECT_THROW(flat_tree::from_blob(blob), std::runtime_error) << blob;
    }
}

}  // namespace tests
