// SPDX-License-Identifier: GPL-2.0-only
// Text as the kernel formats, parses and logs it; where that differs from the C library above all.
#include <cstdarg>
#include <cstring>

#include "tests/host_machine.h"

namespace host_test {

TEST_F(HostKernel, FormatsAsTheKernelDoes) {
    device_node *node = unit(2);
    const std::vector<std::pair<std::string, std::string>> table = {
        {text("%5d|%-5d|%05d|%+d", -42, -42, -42, 42), "  -42|-42  |-0042|+42"},
        {text("%x %X %#x %#X %#x %#o", 171, 171, 171, 171, 0, 8), "ab AB 0xab 0XAB 0x0 010"},
        {text("%llu %lld %llx", ~0ull, -1ll, 1ull << 40), "18446744073709551615 -1 10000000000"},
        {text("%7lX|%hx|%hhu|%hd", 0xabcul, 0x12345, 0x1ff, 0x18000), "    ABC|2345|255|-32768"},
        {text("%*s|%*s|%-4s|%.2s|%.*s", 4, "a", -4, "b", "c", "defg", -1, "hi"),
         "   a|b   |c   |de|"},
        {text("%s|%8s|%.3s", nullptr, nullptr, nullptr), "(null)|  (null)|(nu"},
        {text("%c%3c%-3c%%%5%|", 'a', 'b', 'c'), "a  bc  %%|"},
        {text("%08.3d|%.0d|%3d", 5, 0, 100), "00000005|0|100"},
        {text("%pOF: no %pOFn|%20pOF|%pOF", node, node, node, nullptr),
         "/soc/unit@2000: no unit|      /soc/unit@2000|(null)"},
    };
    for (const auto &[actual, expected] : table) {
        EXPECT_EQ(actual, expected);
    }
    ovk_kernel_of_node_put(node);
}

static int stored(char *buffer, std::size_t size, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int count = ovk_kernel_vscnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return count;
}

TEST_F(HostKernel, FormattingReportsTheWholeOrTheStoredLength) {
    char buffer[8] = "unused";
    EXPECT_EQ(ovk_kernel_snprintf(buffer, 4, "%s", "abcdef"), 6);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(stored(buffer, 4, "%s", "vwxyz"), 3);
    EXPECT_STREQ(buffer, "vwx");
    EXPECT_EQ(stored(buffer, 1, "%s", "abc"), 0);
    EXPECT_EQ(stored(buffer, 0, "%s", "abc"), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(stored(buffer, static_cast<std::size_t>(-3), "x"), 0);
    EXPECT_EQ(oopses().size(), 1u);
}

TEST_F(HostKernel, ScansIntegersAsTheKernelDoes) {
    struct row {
        const char *input, *format;
        int count;
        std::array<u32, 4> values;
    };
    constexpr u32 kept = 77;
    const row table[] = {
        {"1 2 3 4\n", "%u %u %u %u", 4, {1, 2, 3, 4}},
        {" \t5\n6", "%u%u", 2, {5, 6, kept, kept}},
        {"", "%u", 0, {kept, kept, kept, kept}},
        {"-1", "%u", 0, {kept, kept, kept, kept}},
        {"+1", "%d", 0, {kept, kept, kept, kept}},
        {"-1 - 1", "%d %d", 1, {~0u, kept, kept, kept}},
        {"4294967298 18446744073709551619", "%u %u", 2, {2, 3, kept, kept}},
        {"ff 0xFf 0x xy", "%x %x %x %x", 3, {255, 255, 0, kept}},
        {"10 20", "%x %u %u", 2, {16, 20, kept, kept}},
        {"1c000000 ff 1", "%x %u %u", 1, {0x1c000000, kept, kept, kept}},
        {"0x10 010 08 9", "%i %i %i %i", 4, {16, 8, 0, 8}},
        {"0x 5", "%ix %u", 2, {0, 5, kept, kept}},
        {"1,2;3", "%u,%u,%u", 2, {1, 2, kept, kept}},
        {"7 0x8", "%d 0x%x", 2, {7, 8, kept, kept}},
        {"7 8", "%d 0x%x", 1, {7, kept, kept, kept}},
        {"12345", "%2u%1u%u", 3, {12, 3, 45, kept}},
        {"a1%2", "a%u%%%u", 2, {1, 2, kept, kept}},
        {"skip 9", "%*s %u", 1, {9, kept, kept, kept}},
    };
    for (const row &each : table) {
        std::array<u32, 4> got = {kept, kept, kept, kept};
        EXPECT_EQ(each.count,
                  ovk_kernel_sscanf(each.input, each.format, &got[0], &got[1], &got[2], &got[3]))
            << each.input << " by " << each.format;
        EXPECT_EQ(each.values, got) << each.input << " by " << each.format;
    }
    u64 wide[2] = {};
    std::array<unsigned short, 2> narrow = {1, 2};
    EXPECT_EQ(3, ovk_kernel_sscanf("ffffffffff fffffffffffffffff 12345", "%llx %llx %hx", &wide[0],
                                   &wide[1], &narrow[0]));
    EXPECT_EQ(wide[0], 0xffffffffffull);
    EXPECT_EQ(wide[1], ~0ull);
    EXPECT_EQ(narrow, (std::array<unsigned short, 2>{0x2345, 2}));
}

TEST_F(HostKernel, ConvertsWholeTextsAsTheKernelDoes) {
    struct row {
        const char *input;
        unsigned base;
        int code;
        unsigned value;
    };
    const row table[] = {
        {"12", 0, 0, 12},
        {"+12\n", 0, 0, 12},
        {"0x1F", 0, 0, 31},
        {"017", 0, 0, 15},
        {"0", 0, 0, 0},
        {"0x", 0, -EINVAL, 9},
        {"0xg", 0, -EINVAL, 9},
        {"", 0, -EINVAL, 9},
        {"\n", 0, -EINVAL, 9},
        {"-1", 0, -EINVAL, 9},
        {" 1", 0, -EINVAL, 9},
        {"1 ", 0, -EINVAL, 9},
        {"1\n\n", 0, -EINVAL, 9},
        {"4294967295", 0, 0, ~0u},
        {"4294967296", 0, -ERANGE, 9},
        {"4294967296x", 0, -EINVAL, 9},
        {"99999999999999999999x", 0, -ERANGE, 9},
        {"ff", 16, 0, 255},
        {"0xff", 16, 0, 255},
        {"08", 0, -EINVAL, 9},
    };
    for (const row &each : table) {
        unsigned value = 9;
        EXPECT_EQ(ovk_kernel_kstrtouint(each.input, each.base, &value), each.code) << each.input;
        EXPECT_EQ(value, each.value) << each.input;
    }
    const std::map<std::string, int> words = {
        {"1", 1},      {"y", 1},       {"Yes\n", 1},   {"on", 1},      {"ON", 1},
        {"true", 1},   {"0", 0},       {"no", 0},      {"oFF", 0},     {"F", 0},
        {"", -EINVAL}, {"2", -EINVAL}, {"o", -EINVAL}, {" 1", -EINVAL}};
    for (const auto &[word, expected] : words) {
        bool value = false;
        const int code = ovk_kernel_kstrtobool(word.c_str(), &value);
        EXPECT_EQ(code < 0 ? code : value, expected) << word;
    }
}

TEST_F(HostKernel, LogsOneRecordWithItsLevelForEachPrintk) {
    EXPECT_EQ(ovk_kernel_printk(KERN_ERR "a\nb\n"), 3);
    ovk_kernel_printk("%s", KERN_ALERT "c");
    ovk_kernel_printk("d\n\n");
    const std::vector<host::log_line> log = machine->take_log();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(std::to_string(log[0].level) + log[0].text, "3a\nb");
    EXPECT_EQ(std::to_string(log[1].level) + log[1].text, "1c");
    EXPECT_EQ(std::to_string(log[2].level) + log[2].text, "4d\n");
}

}  // namespace host_test
