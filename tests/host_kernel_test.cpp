// SPDX-License-Identifier: GPL-2.0-only
// The host kernel: the semantics that it shares with the real one, and what it is stricter about.
// The tests call the services as a module would. At their end nothing may be held or objected to.
#include <cstring>
#include <future>
#include <thread>

#include "platform/host/platform_bus.h"
#include "platform/host/services.h"
#include "tests/compiled.h"
#include "tests/watched_bus.h"

namespace tests {

static const char *const board = R"(/dts-v1/;
/ {
    #address-cells = <1>; #size-cells = <1>; compatible = "test,board";
    larb0@1c006000 { reg = <0x1c006000 0x500>; };
    soc {
        compatible = "simple-bus";
        #address-cells = <1>; #size-cells = <1>; ranges;
        common: unit@1c001000 { reg = <0x1c001000 0x100>; compatible = "test,b", "test,a"; };
        unit@1c002000 { reg = <0x1c002000 0x40>; compatible = "test,b"; device_type = "kind";
                        text = "word"; cells = <1 2 3>; empty; odd = [01 02 03];
                        link = <0 &common>; below { compatible = "test,b"; }; };
        unit@1c003000 { reg = <0x1c003000 0x40>; compatible = "test,b"; status = "disabled"; };
        unit@1c004000 { reg = <0x1c004000 0x40>; device_type = "kind";
                        below { compatible = "test,b"; }; };
        parts { compatible = "test,parts", "simple-mfd"; ranges;
                part@1c005000 { reg = <0x1c005000 0x40>; compatible = "test,b"; }; };
    };
};
)";

class host_kernel : public testing::Test {
  protected:
    lines oopses() { return machine.take_oopses(); }

    rig r{compiled(board)};
    host::machine &machine = r.machine();
};

TEST_F(host_kernel, counts_references_to_the_nodes_that_it_hands_out) {
    device_node *first = ovk_kernel_of_find_node_by_type(nullptr, "kind");
    device_node *common = ovk_kernel_of_parse_phandle(first, "link", 1);
    EXPECT_EQ(ovk_kernel_of_parse_phandle(first, "link", 0), nullptr);
    EXPECT_EQ(ovk_kernel_of_parse_phandle(first, "link", 2), nullptr);
    device_node *second = ovk_kernel_of_find_node_by_type(first, "kind");
    EXPECT_EQ(machine.holdings(), (lines{"node references: 1 to /soc/unit@1c001000",
                                         "node references: 1 to /soc/unit@1c004000"}));
    EXPECT_EQ(ovk_kernel_of_find_node_by_type(second, "kind"), nullptr);
    ovk_kernel_of_node_put(common);
    EXPECT_EQ(oopses(), lines{});
    ovk_kernel_of_node_put(common);
    EXPECT_EQ(oopses(), lines{"of_node_put of /soc/unit@1c001000 without a reference to it"});
}

TEST_F(host_kernel, reads_properties_with_the_kernels_errors) {
    device_node *node = ovk_kernel_of_find_node_by_type(nullptr, "kind");
    const char *word = nullptr;
    u32 values[3] = {};
    const std::pair<const char *, int> strings[] = {
        {"text", 0}, {"none", -EINVAL}, {"empty", -ENODATA}, {"odd", -EILSEQ}};
    for (const auto &[name, code] : strings) {
        EXPECT_EQ(ovk_kernel_of_property_read_string(node, name, &word), code) << name;
    }
    EXPECT_STREQ(word, "word");
    for (const auto &[name, max, code] : {std::tuple{"cells", 0u, 1},
                                          {"cells", 3, 3},
                                          {"cells", 2, -EOVERFLOW},
                                          {"odd", 0, -EOVERFLOW},
                                          {"none", 0, -EINVAL}}) {
        EXPECT_EQ(ovk_kernel_of_property_read_variable_u32_array(node, name, values, 1, max), code)
            << name << " up to " << max;
    }
    EXPECT_EQ(values[2], 3u);
    const std::pair<const char *, int> counts[] = {{"cells", 3}, {"odd", -EINVAL}, {"empty", 0}};
    for (const auto &[name, count] : counts) {
        EXPECT_EQ(ovk_kernel_of_property_count_elems_of_size(node, name, 4), count) << name;
    }
    ovk_kernel_of_node_put(node);
}

TEST_F(host_kernel, rejects_improper_access_to_registers) {
    device_node *node = ovk_kernel_of_find_node_by_name(nullptr, "unit");
    char *window = static_cast<char *>(ovk_kernel_of_iomap(node, 0));
    EXPECT_EQ(ovk_kernel_of_iomap(node, 1), nullptr);
    ovk_kernel_of_node_put(node);
    machine.set_tracing(true);
    ovk_kernel_writel(0xab, window + 0x10);
    EXPECT_EQ(ovk_kernel_readl_relaxed(window + 0x10), 0xabu);
    EXPECT_EQ(ovk_kernel_readw_relaxed(window + 0x10), 0xabu);
    ovk_kernel_wmb();
    ovk_kernel_writeq_relaxed(1, window + 0x10);
    ovk_kernel_usleep_range(3, 4);
    EXPECT_EQ(r.trace(), (lines{"W32 unit+0x010 0x000000ab", "R32 unit+0x010 0x000000ab",
                                "R16 unit+0x010 0x00ab", "wmb", "W64 unit+0x010 0x0000000000000001",
                                "sleep 3 4"}));
    EXPECT_EQ(oopses(), lines{});

    EXPECT_EQ(ovk_kernel_readq_relaxed(window + 0xfc), ~0ull);
    EXPECT_EQ(ovk_kernel_readw_relaxed(window + 1), 0xffffu);
    ovk_kernel_iounmap(window);
    EXPECT_EQ(oopses(), (lines{"read64 of unit+0x0fc: outside the window",
                               "read16 of unit+0x001: unaligned"}));
    ovk_kernel_writel(1, window);
    ovk_kernel_iounmap(window);
    const lines unmapped = oopses();
    ASSERT_EQ(unmapped.size(), 2u);
    for (const std::string &line : unmapped) {
        EXPECT_NE(line.find("not mapped"), std::string::npos) << line;
    }

    char *counters = static_cast<char *>(ovk_kernel_ioremap(0x1c006410, 4));
    ovk_kernel_writel(1, counters);
    EXPECT_EQ(ovk_kernel_readw_relaxed(counters), 0u);
    EXPECT_EQ(oopses(), lines{"larb0+0x410: 16-bit load, not for counter"});
    ovk_kernel_iounmap(counters);
}

TEST_F(host_kernel, tracks_memory) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ovk_kernel_kmalloc(0, GFP_KERNEL)), 16u);
    ovk_kernel_kfree(ovk_kernel_kmalloc_array(0, 8, GFP_KERNEL));
    ovk_kernel_kfree(nullptr);
    EXPECT_EQ(machine.requests(host::fault_kind::allocation), 0u);
    EXPECT_EQ(ovk_kernel_kmalloc_array(SIZE_MAX / 2, 3, GFP_KERNEL), nullptr);
    EXPECT_EQ(ovk_kernel_kmalloc((4u << 20) + 1, GFP_KERNEL), nullptr);
    machine.fail_nth(host::fault_kind::allocation, 2);
    char *block = static_cast<char *>(ovk_kernel_kmalloc_array(3, 8, GFP_KERNEL | __GFP_ZERO));
    EXPECT_EQ(std::string(block, 24), std::string(24, '\0'));
    EXPECT_EQ(ovk_kernel_kmalloc(8, GFP_KERNEL), nullptr);
    EXPECT_EQ(machine.allocations().bytes, 24u);
    EXPECT_EQ(machine.holdings(), lines{"memory: 24 bytes (allocation 1)"});
    ovk_kernel_kfree(block);
    EXPECT_EQ(oopses(), lines{});
    ovk_kernel_kfree(block);
    EXPECT_EQ(oopses(),
              lines{"kfree of memory that kmalloc did not hand out or that is free already"});
}

// Hardware whose event is due already, and stays so.
class overdue_bus : public watched_bus {
    using watched_bus::watched_bus;
    std::optional<std::uint64_t> next_event() const override { return 1500; }
};

TEST(host_time, passes_in_sleeps_and_in_busy_waits_up_to_an_event_that_is_to_come) {
    const devicetree::flat_tree tree = compiled(board);
    overdue_bus bus(tree, 0);
    host::machine machine(tree, bus, {.module_image = "", .dram_freq = {}});
    ovk_kernel_usleep_range(700, 900);
    for (const std::uint64_t now_us : {1500u, 2500u, 3500u}) {
        ovk_kernel_cond_resched();
        EXPECT_EQ(ovk_kernel_ktime_get_ns(), now_us * 1000);
    }
    EXPECT_EQ(machine.waited_us(), 3500u);
}

TEST(host_load, and_unload_report_what_they_leave_behind) {
    rig r("zt410");
    host::machine &machine = r.machine();
    device_node *node = ovk_kernel_of_find_node_by_name(nullptr, "larb0");
    machine.fail_named(host::fault_kind::attribute, "reg_op");
    EXPECT_EQ(machine.load(), -ENOMEM);
    EXPECT_FALSE(machine.loaded());
    EXPECT_EQ(machine.take_oopses(),
              lines{"left behind by a failed load: node references: 1 to /soc/larb0@1c480000"});

    machine.clear_faults();
    r.loaded();
    node = ovk_kernel_of_find_node_by_name(nullptr, "larb0");
    ovk_kernel_of_iomap(node, 0);
    ovk_kernel_kmalloc(48, GFP_KERNEL);
    ovk_kernel_mutex_lock_killable(&ovk_measurement_mutex);
    const std::string number = std::to_string(machine.allocations().calls);
    machine.unload();
    const std::string by = "left behind by the unloaded module: ";
    EXPECT_EQ(machine.take_oopses(), (lines{by + "memory: 48 bytes (allocation " + number + ")",
                                            by + "window: larb0, 0x1000 bytes at 0x1c480000",
                                            by + "node references: 1 to /soc/larb0@1c480000",
                                            by + "the measurement lock, held"}));
}

static lines calls;

static int sleepy(device *dev) {
    calls.push_back("suspend " + dev->node->full_name);
    return dev->node->full_name == "unit@1c001000" ? -EBUSY : 0;
}
static int woken(device *dev) {
    calls.push_back("resume " + dev->node->full_name);
    return 0;
}

// Children of a node that is no bus are none, however compatible they are.
TEST_F(host_kernel, binds_devices_of_buses_and_wakes_them_when_one_refuses_to_sleep) {
    const of_device_id matches[] = {{"", "", "test,a", "a"}, {"", "", "test,b", "b"}, {}};
    const dev_pm_ops power = {sleepy, woken, nullptr, nullptr, nullptr, nullptr};
    ovk_platform_driver units = {"ovk-effi", matches, &power, nullptr, nullptr, {}};
    calls.clear();
    ASSERT_EQ(ovk_kernel_platform_driver_register(&units), 0);
    EXPECT_EQ(machine.bound_devices(), (lines{"unit@1c001000", "unit@1c002000", "part@1c005000"}));
    EXPECT_EQ(machine.holdings(), lines{"driver: ovk-effi, bound to 3 devices"});
    const device &first = ovk_kernel_driver_find("ovk-effi", &platform_bus_type)->bound.at(0)->dev;
    EXPECT_STREQ(static_cast<const char *>(ovk_kernel_of_device_get_match_data(&first)), "b");
    EXPECT_EQ(machine.suspend(), -EBUSY);
    EXPECT_EQ(calls,
              (lines{"suspend part@1c005000", "suspend unit@1c002000", "suspend unit@1c001000",
                     "resume unit@1c002000", "resume part@1c005000"}));
    ovk_kernel_platform_driver_unregister(&units);
}

static std::promise<void> entered, released;

static ssize_t show_page(device_driver *, char *page) {
    return ovk_kernel_snprintf(page, 4096, "page\n");
}
static ssize_t show_error(device_driver *, char *) {
    return -EINVAL;
}
static ssize_t show_too_much(device_driver *, char *page) {
    std::memset(page, 'x', 4097);
    return 4096;
}
static ssize_t show_when_released(device_driver *, char *) {
    entered.set_value();
    released.get_future().wait();
    return 1;
}
static ssize_t take_all_but_three(device_driver *, const char *text, size_t size) {
    EXPECT_EQ(std::strlen(text), size);
    calls.push_back(std::to_string(size));
    return static_cast<ssize_t>(size > 3 ? size - 3 : size);
}
static ssize_t lock_and_take_nothing(device_driver *, const char *, size_t) {
    return ovk_kernel_mutex_lock_killable(&ovk_measurement_mutex);
}
static ssize_t lock_out_of_order(device_driver *, const char *, size_t size) {
    ovk_kernel_mutex_lock_killable(&ovk_emi_mutex);
    ovk_kernel_mutex_lock_killable(&ovk_measurement_mutex);
    ovk_kernel_mutex_unlock(&ovk_measurement_mutex);
    ovk_kernel_mutex_unlock(&ovk_emi_mutex);
    return static_cast<ssize_t>(size);
}

static driver_attribute attributes[] = {
    {"page", 0644, show_page, take_all_but_three, {}},
    {"error", 0644, show_error, nullptr, {}},
    {"write_only", 0200, show_page, nullptr, {}},
    {"careless", 0644, show_too_much, lock_and_take_nothing, {}},
    {"slow", 0644, show_when_released, lock_out_of_order, {}},
};

class host_files : public host_kernel {
  protected:
    void SetUp() override {
        calls.clear();
        ASSERT_EQ(ovk_kernel_platform_driver_register(&owner), 0);
        EXPECT_EQ(ovk_kernel_platform_driver_register(&owner), -EBUSY);
        device_driver *driver = ovk_kernel_driver_find("ovk-bw", &platform_bus_type);
        for (driver_attribute &each : attributes) {
            ASSERT_EQ(ovk_kernel_driver_create_file(driver, &each), 0) << each.name;
            EXPECT_EQ(ovk_kernel_driver_create_file(driver, &each), -EEXIST) << each.name;
        }
        EXPECT_EQ(ovk_kernel_driver_create_file(nullptr, attributes), -EINVAL);
    }

    ovk_platform_driver owner = {"ovk-bw", nullptr, nullptr, nullptr, nullptr, {}};
};

TEST_F(host_files, are_read_and_written_as_by_a_process_and_bad_handlers_objected_to) {
    EXPECT_EQ(machine.read("page").text, "page\n");
    EXPECT_EQ(machine.read("error").code, -EINVAL);
    EXPECT_EQ(machine.read("none").code, -ENOENT);
    EXPECT_EQ(machine.read("write_only").code, -EACCES);
    EXPECT_EQ(machine.write("error", "x"), -EIO);
    EXPECT_EQ(machine.write("page", ""), 0);
    EXPECT_EQ(machine.write("page", std::string(5000, 'x')), 5000);
    EXPECT_EQ(calls, (lines{"4096", "907", "3"}));
    EXPECT_EQ(oopses(), lines{});

    EXPECT_EQ(machine.read("careless").text, std::string(4095, 'x'));
    EXPECT_EQ(machine.write("careless", "x"), 0);
    EXPECT_EQ(machine.write("slow", "x"), 1);
    EXPECT_EQ(oopses(), (lines{"show of careless wrote past its page",
                               "show of careless returned bad count 4096",
                               "store of careless returned 0: the writer would loop",
                               "a handler of careless returned with the measurement lock held",
                               "the measurement lock is taken inside one that goes inside it"}));
    ovk_kernel_platform_driver_unregister(&owner);
}

TEST_F(host_files, go_with_their_driver_when_the_last_handler_has_returned) {
    auto reader = std::async(std::launch::async, [this] { return machine.read("slow").code; });
    entered.get_future().wait();
    auto removal =
        std::async(std::launch::async, [this] { ovk_kernel_platform_driver_unregister(&owner); });
    long code = 1;
    while (code >= 0) {
        std::this_thread::yield();
        code = machine.write("page", "x");
    }
    EXPECT_EQ(code, -ENODEV);
    EXPECT_EQ(removal.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    released.set_value();
    removal.get();
    EXPECT_EQ(reader.get(), 1);
    EXPECT_EQ(machine.read("page").code, -ENOENT);
}

}  // namespace tests
