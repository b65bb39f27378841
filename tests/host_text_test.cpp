// SPDX-License-Identifier: GPL-2.0-only
// Text as the kernel formats, parses and logs it; where that differs from the C library above all.
#include <map>

#include "platform/host/services.h"
#include "tests/rig.h"

namespace tests {

class host_text : public testing::Test {
  protected:
    template <typename... values>
    static std::string text(const char *format, values... arguments) {
        char buffer[256];
        ovk_kernel_snprintf(buffer, sizeof(buffer), format, arguments...);
        return buffer;
    }

    rig r{"zt410"};
};

TEST_F(host_text, is_formatted_as_by_the_kernel) {
    device_node *node = ovk_kernel_of_find_node_by_name(nullptr, "larb4");
    const std::pair<std::string, std::string> table[] = {
        {text("%5d|%-5d|%05d|%+d", -42, -42, -42, 42), "  -42|-42  |-0042|+42"},
        {text("%x %X %#x %#X %#x %#o", 171, 171, 171, 171, 0, 8), "ab AB 0xab 0XAB 0x0 010"},
        {text("%llu %lld %llx", ~0ull, -1ll, 1ull << 40), "18446744073709551615 -1 10000000000"},
        {text("%7lX|%hx|%hhu|%hd", 0xabcul, 0x12345, 0x1ff, 0x18000), "    ABC|2345|255|-32768"},
        {text("%*s|%*s|%-4s|%.2s|%.*s", 4, "a", -4, "b", "c", "defg", -1, "hi"),
         "   a|b   |c   |de|"},
        {text("%s|%8s|%.3s", nullptr, nullptr, nullptr), "(null)|  (null)|(nu"},
        {text("%c%3c%-3c%%%5%|", 'a', 'b', 'c'), "a  bc  %%|"},
        {text("%08.3d|%.0d|%3d", 5, 0, 100), "00000005|0|100"},
        {text("%pOF: no %pOFn|%21pOF|%pOF", node, node, node, nullptr),
         "/soc/larb4@1c484000: no larb4|  /soc/larb4@1c484000|(null)"},
    };
    for (const auto &[actual, expected] : table) {
        EXPECT_EQ(actual, expected);
    }
    ovk_kernel_of_node_put(node);
}

TEST_F(host_text, that_is_too_long_is_cut_and_counted_whole) {
    char buffer[8] = "unused";
    EXPECT_EQ(ovk_kernel_snprintf(buffer, 4, "%s", "abcdef"), 6);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(ovk_kernel_snprintf(buffer, 0, "%s", "xyz"), 3);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(ovk_kernel_snprintf(buffer, static_cast<std::size_t>(-3), "x"), 0);
    EXPECT_EQ(r.machine().take_oopses().size(), 1u);
}

TEST_F(host_text, is_scanned_for_integers_as_by_the_kernel) {
    using numbers = std::vector<u32>;

    for (const auto &[input, format, values] :
         {std::tuple{"1 2 3 4\n", "%u %u %u %u", numbers{1, 2, 3, 4}},
          {"", "%u", {}},
          {"-1", "%u", {}},
          {"-1 - 1", "%d %d", {~0u}},
          {"4294967298 18446744073709551619", "%u %u", {2, 3}},
          {"ff 0xFf 0x xy", "%x %x %x %x", {255, 255, 0}},
          {"10 20", "%x %u %u", {16, 20}},
          {"0x10 010 08 9", "%i %i %i %i", {16, 8, 0, 8}},
          {"1,2;3", "%u,%u,%u", {1, 2}},
          {"7 8", "%d 0x%x", {7}},
          {"12345", "%2u%1u%u", {12, 3, 45}},
          {"skip 9", "%*s %u", {9}}}) {
        constexpr u32 kept = 77;
        numbers expected = values;
        numbers got(4, kept);
        expected.resize(4, kept);
        EXPECT_EQ(ovk_kernel_sscanf(input, format, &got[0], &got[1], &got[2], &got[3]),
                  static_cast<int>(values.size()))
            << input << " by " << format;
        EXPECT_EQ(got, expected) << input << " by " << format;
    }
}

TEST_F(host_text, is_converted_as_a_whole_as_by_the_kernel) {
    std::map<std::string, long> numbers = {{"12", 12},
                                           {"+12\n", 12},
                                           {"0x1F", 31},
                                           {"017", 15},
                                           {"0", 0},
                                           {"4294967295", 4294967295},
                                           {"4294967296", -ERANGE},
                                           {"99999999999999999999x", -ERANGE}};
    for (const char *text :
         {"0x", "0xg", "", "\n", "-1", " 1", "1 ", "1\n\n", "08", "4294967296x"}) {
        numbers[text] = -EINVAL;
    }
    for (const auto &[text, expected] : numbers) {
        unsigned value = 9;
        const int code = ovk_kernel_kstrtouint(text.c_str(), 0, &value);
        EXPECT_EQ(code < 0 ? code : long{value}, expected) << text;
        EXPECT_TRUE(code == 0 || value == 9) << text;
    }
    const std::map<std::string, int> words = {
        {"1", 1},      {"y", 1},       {"Yes\n", 1},   {"on", 1},      {"ON", 1},
        {"true", 1},   {"0", 0},       {"no", 0},      {"oFF", 0},     {"F", 0},
        {"", -EINVAL}, {"2", -EINVAL}, {"o", -EINVAL}, {" 1", -EINVAL}};
    for (const auto &[word, expected] : words) {
        bool truth = false;
        const int code = ovk_kernel_kstrtobool(word.c_str(), &truth);
        EXPECT_EQ(code < 0 ? code : truth, expected) << word;
    }
}

TEST_F(host_text, is_logged_as_one_record_with_its_level_for_each_printk) {
    EXPECT_EQ(ovk_kernel_printk(KERN_ERR "a\nb\n"), 3);
    ovk_kernel_printk("%s", KERN_ALERT "c");
    ovk_kernel_printk("d\n\n");
    EXPECT_EQ(r.log(), (lines{"<3>a\nb", "<1>c\\c", "<4>d\n"}));
}

}  // namespace tests
