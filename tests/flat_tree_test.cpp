// SPDX-License-Identifier: GPL-2.0-only
#include "devicetree/flat_tree.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

using devicetree::flat_tree;
using devicetree::node;

std::filesystem::path source_file(const std::string &text) {
    const std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    const auto file = std::filesystem::path(::testing::TempDir()) / ("flat_tree_" + name + ".dts");
    std::ofstream(file) << "/dts-v1/;\n" << text;
    return file;
}

flat_tree compiled(const std::string &text) {
    const auto file = source_file(text);
    auto tree = flat_tree::from_file(file);
    std::filesystem::remove(file);
    return tree;
}

std::vector<std::string> names(const flat_tree &tree) {
    std::vector<std::string> result;
    for (const auto &each : tree.nodes()) {
        result.push_back(each->full_name);
    }
    return result;
}

constexpr const char *board = R"(
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
)";

TEST(FlatTree, KeepsDocumentOrderAndPaths) {
    const auto tree = compiled(board);
    EXPECT_EQ(names(tree), (std::vector<std::string>{"", "soc", "larb4@84000", "bus", "far@200010",
                                                     "stray@900000", "blind", "inner@0",
                                                     "smi_common0@1000", "larb4"}));
    EXPECT_EQ(tree.nodes()[0]->path, "/");
    EXPECT_EQ(tree.by_name("far")->path, "/soc/bus/far@200010");
    EXPECT_EQ(tree.by_name("larb4"), tree.nodes()[2].get());
    EXPECT_EQ(tree.by_name("bus")->children.size(), 2u);
    EXPECT_EQ(tree.by_name("bus")->parent, tree.by_name("soc"));
    EXPECT_EQ(tree.by_name("larb"), nullptr);
}

TEST(FlatTree, ReadsPropertiesAsTheKernelDoes) {
    const auto tree = compiled(board);
    const node &larb = *tree.by_name("larb4");
    EXPECT_EQ(larb.u32_array("list"), (std::vector<std::uint32_t>{1, 2, 0xffffffff}));
    EXPECT_EQ(larb.u32("list"), 1u);
    EXPECT_EQ(larb.string("word"), "GOP");
    EXPECT_EQ(larb.string("list"), std::string());
    EXPECT_EQ(larb.u32("missing"), std::nullopt);
    const node &common = *tree.by_name("smi_common0");
    EXPECT_TRUE(common.has("flag"));
    EXPECT_EQ(common.u32("flag"), std::nullopt);
    EXPECT_EQ(common.string("flag"), std::nullopt);
    EXPECT_EQ(tree.by_phandle(*common.u32("larb")), &common);
    EXPECT_TRUE(larb.available());
    EXPECT_TRUE(common.available());
    EXPECT_FALSE(tree.by_name("far")->available());
}

TEST(FlatTree, TranslatesAddressesThroughEveryBus) {
    const auto tree = compiled(board);
    const node &larb = *tree.by_name("larb4");
    ASSERT_EQ(larb.reg.size(), 2u);
    EXPECT_EQ(larb.reg[0].start, 0x1c084000u);
    EXPECT_EQ(larb.reg[1].start, 0x1c085000u);
    EXPECT_EQ(larb.reg[1].size, 0x100u);
    EXPECT_EQ(tree.by_name("far")->reg.at(0).start, 0x100000010u);
    EXPECT_TRUE(tree.by_name("stray")->reg.empty());
    EXPECT_TRUE(tree.by_name("inner")->reg.empty());
}

TEST(FlatTree, VariesACopyAndLeavesTheOriginalAlone) {
    const auto tree = compiled(board);
    const std::string path = "/soc/larb4@84000";
    const auto changed = tree.with_u32(path, "a-new-property", 7);
    EXPECT_EQ(changed.by_name("larb4")->u32("a-new-property"), 7u);
    EXPECT_EQ(tree.without_property(path, "word").by_name("larb4")->find("word"), nullptr);
    const auto disabled = tree.with_property(path, "status", std::string("disabled\0", 9));
    EXPECT_FALSE(disabled.by_name("larb4")->available());
    EXPECT_EQ(tree.without_node(path).by_name("larb4")->path, "/larb4");
    EXPECT_TRUE(tree.by_name("larb4")->has("word"));
    EXPECT_FALSE(tree.by_name("larb4")->has("a-new-property"));
    EXPECT_THROW(tree.with_u32("/nowhere", "x", 1), std::runtime_error);
    EXPECT_THROW(tree.without_property(path, "nothing"), std::runtime_error);
    EXPECT_THROW(tree.without_node("/nowhere"), std::runtime_error);
}

TEST(FlatTree, HasNoMoreThan64LevelsOfNodes) {
    std::string levels = "node { };";
    for (int above = 2; above < 64; ++above) {
        levels = "node { " + levels + " };";
    }
    EXPECT_EQ(compiled("/ { " + levels + " };").nodes().size(), 64u);
    const auto file = source_file("/ { node { " + levels + " }; };");
    EXPECT_THROW(flat_tree::from_file(file), std::runtime_error);
    std::filesystem::remove(file);
}

TEST(FlatTree, SaysWhichFileIsWrong) {
    const auto file = source_file("/ { broken };");
    try {
        flat_tree::from_file(file);
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error &error) {
        EXPECT_NE(std::string(error.what()).find(file.string()), std::string::npos);
        EXPECT_NE(std::string(error.what()).find("syntax error"), std::string::npos);
    }
    std::filesystem::remove(file);
    EXPECT_THROW(flat_tree::from_file("/nonexistent.dtb"), std::runtime_error);
    EXPECT_THROW(flat_tree::from_blob("no blob"), std::runtime_error);
    EXPECT_THROW(flat_tree::from_blob(std::string(100, 'x')), std::runtime_error);
}

}  // namespace
