// SPDX-License-Identifier: GPL-2.0-only
// The host kernel: the semantics that it shares with the real one, and what it is stricter about.
#include <cstring>
#include <future>
#include <thread>

#include "tests/host_machine.h"

namespace tests {

TEST_F(HostKernel, FindsNodesInTreeOrderAndCountsReferences) {
    device_node *first = ovk_kernel_of_find_node_by_type(nullptr, "kind");
    EXPECT_EQ(text("%pOF", first), "/soc/unit@2000");
    device_node *common = ovk_kernel_of_parse_phandle(first, "link", 1);
    EXPECT_EQ(text("%pOF", common), "/soc/unit@1000");
    EXPECT_EQ(ovk_kernel_of_parse_phandle(first, "link", 0), nullptr);
    EXPECT_EQ(ovk_kernel_of_parse_phandle(first, "link", 2), nullptr);
    device_node *second = ovk_kernel_of_find_node_by_type(first, "kind");
    EXPECT_EQ(text("%pOF", second), "/soc/unit@4000");
    EXPECT_EQ(machine->holdings(), (lines{"node references: 1 to /soc/unit@1000",
                                          "node references: 1 to /soc/unit@4000"}));
    EXPECT_EQ(ovk_kernel_of_find_node_by_type(second, "kind"), nullptr);
    ovk_kernel_of_node_put(common);
    EXPECT_EQ(oopses(), lines());

    device_node *soc = ovk_kernel_of_find_node_by_name(nullptr, "soc");
    std::string children;
    for (device_node *child = nullptr;
         (child = ovk_kernel_of_get_next_available_child(soc, child));) {
        children += text("%pOF ", child);
    }
    EXPECT_EQ(children, "/soc/unit@1000 /soc/unit@2000 /soc/unit@4000 /soc/parts ");
    ovk_kernel_of_node_put(soc);
    ovk_kernel_of_node_put(soc);
    EXPECT_EQ(oopses(), lines{"of_node_put of /soc without a reference to it"});
}

TEST_F(HostKernel, ReadsPropertiesWithTheKernelsErrors) {
    device_node *node = unit(2);
    const char *word = nullptr;
    u32 values[3] = {};
    const auto string = [&](const char *name) {
        return ovk_kernel_of_property_read_string(node, name, &word);
    };
    const auto cells = [&](const char *name, size_t min, size_t max) {
        return ovk_kernel_of_property_read_variable_u32_array(node, name, values, min, max);
    };
    const auto count = [&](const char *name) {
        return ovk_kernel_of_property_count_elems_of_size(node, name, 4);
    };
    EXPECT_EQ(string("text"), 0);
    EXPECT_STREQ(word, "word");
    EXPECT_EQ(string("none"), -EINVAL);
    EXPECT_EQ(string("empty"), -ENODATA);
    EXPECT_EQ(string("odd"), -EILSEQ);
    EXPECT_EQ(cells("cells", 1, 0), 1);
    EXPECT_EQ(cells("cells", 1, 3), 3);
    EXPECT_EQ(values[2], 3u);
    EXPECT_EQ(cells("cells", 1, 2), -EOVERFLOW);
    EXPECT_EQ(cells("odd", 1, 0), -EOVERFLOW);
    EXPECT_EQ(cells("none", 1, 0), -EINVAL);
    EXPECT_EQ(count("cells"), 3);
    EXPECT_EQ(count("odd"), -EINVAL);
    EXPECT_EQ(count("empty"), 0);
    machine->fail_named(host::fault_kind::property, "unit:cells");
    EXPECT_EQ(count("cells"), -EINVAL);
    ovk_kernel_of_node_put(node);
}

TEST_F(HostKernel, RejectsImproperAccessToRegisters) {
    device_node *node = unit(1);
    char *window = static_cast<char *>(ovk_kernel_of_iomap(node, 0));
    EXPECT_EQ(ovk_kernel_of_iomap(node, 1), nullptr);
    ovk_kernel_of_node_put(node);
    machine->set_tracing(true);
    ovk_kernel_writel(0xab, window + 0x10);
    EXPECT_EQ(ovk_kernel_readl_relaxed(window + 0x10), 0xabu);
    ovk_kernel_wmb();
    ovk_kernel_writeq_relaxed(1, window + 0x10);
    ovk_kernel_usleep_range(3, 4);
    std::string traced;
    for (const host::trace_entry &entry : machine->take_trace()) {
        traced += entry.text() + "\n";
    }
    EXPECT_EQ(traced,
              "W32 unit+0x010 0x000000ab\nR32 unit+0x010 0x000000ab\nwmb\n"
              "W64 unit+0x010 0x0000000000000001\nsleep 3 4\n");
    EXPECT_EQ(oopses(), lines());

    EXPECT_EQ(ovk_kernel_readl_relaxed(window + 0x100), 0xffffffffu);
    EXPECT_EQ(ovk_kernel_readw_relaxed(window + 1), 0xffffu);
    ovk_kernel_writel(1, window + 0xfc);
    ovk_kernel_iounmap(window);
    ovk_kernel_writel(1, window);
    ovk_kernel_iounmap(window);
    const lines objections = oopses();
    ASSERT_EQ(objections.size(), 5u);
    EXPECT_EQ(objections[0], "read32 of unit+0x100: outside the window");
    EXPECT_EQ(objections[1], "read16 of unit+0x001: unaligned");
    EXPECT_EQ(objections[2], "unknown register");
    EXPECT_NE(objections[3].find("not mapped"), std::string::npos);
    EXPECT_NE(objections[4].find("not mapped"), std::string::npos);

    void *register_alone = ovk_kernel_ioremap(0x1010, 4);
    EXPECT_EQ(ovk_kernel_readl_relaxed(register_alone), 1u);
    ovk_kernel_iounmap(register_alone);
}

TEST_F(HostKernel, TracksMemory) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ovk_kernel_kmalloc(0, GFP_KERNEL)), 16u);
    ovk_kernel_kfree(ovk_kernel_kmalloc_array(0, 8, GFP_KERNEL));
    ovk_kernel_kfree(nullptr);
    EXPECT_EQ(machine->requests(host::fault_kind::allocation), 0u);
    EXPECT_EQ(ovk_kernel_kmalloc_array(SIZE_MAX / 2, 3, GFP_KERNEL), nullptr);
    EXPECT_EQ(ovk_kernel_kmalloc((4u << 20) + 1, GFP_KERNEL), nullptr);
    machine->fail_nth(host::fault_kind::allocation, 2);
    char *block = static_cast<char *>(ovk_kernel_kmalloc_array(3, 8, GFP_KERNEL | __GFP_ZERO));
    EXPECT_EQ(std::string(block, 24), std::string(24, '\0'));
    EXPECT_EQ(ovk_kernel_kmalloc(8, GFP_KERNEL), nullptr);
    EXPECT_EQ(machine->allocations().bytes, 24u);
    EXPECT_EQ(machine->holdings(), lines{"memory: 24 bytes (allocation 1)"});
    ovk_kernel_kfree(block);
    EXPECT_EQ(oopses(), lines());
    ovk_kernel_kfree(block);
    EXPECT_EQ(oopses().size(), 1u);
}

TEST_F(HostKernel, FailsRequestsByNumberAndByName) {
    device_node *node = unit(1);
    machine->fail_nth(host::fault_kind::mapping, 1);
    EXPECT_EQ(ovk_kernel_of_iomap(node, 0), nullptr);
    machine->fail_named(host::fault_kind::mapping, "unit");
    EXPECT_EQ(ovk_kernel_of_iomap(node, 0), nullptr);
    machine->fail_named(host::fault_kind::node, "unit");
    EXPECT_EQ(ovk_kernel_of_find_node_by_name(node, "unit"), nullptr);
    EXPECT_EQ(machine->holdings(), lines());
    machine->clear_faults();
    node = unit(1);
    ovk_kernel_iounmap(ovk_kernel_of_iomap(node, 0));
    ovk_kernel_of_node_put(node);
    EXPECT_EQ(machine->requests(host::fault_kind::mapping), 3u);
    EXPECT_EQ(oopses(), lines());
}

TEST_F(HostKernel, TimePassesInSleepsAndBusyWaitsOnly) {
    bus.event = 1700;
    ovk_kernel_usleep_range(500, 600);
    EXPECT_EQ(machine->now_us(), 500u);
    ovk_kernel_cond_resched();
    EXPECT_EQ(machine->now_us(), 1500u);
    ovk_kernel_cond_resched();
    EXPECT_EQ(bus.now, 1700u);
    ovk_kernel_cond_resched();
    EXPECT_EQ(ovk_kernel_ktime_get_ns(), 2700'000u);
    machine->elapse(300);
    EXPECT_EQ(machine->now_us(), 3000u);
    EXPECT_EQ(machine->waited_us(), 2700u);
}

TEST_F(HostKernel, EveryLoadStartsFromFreshGlobals) {
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(machine->load(), 0);
        EXPECT_EQ(machine->load(), -EEXIST);
        EXPECT_EQ(machine->take_log().at(0).text, "load 1");
        EXPECT_EQ(machine->unload(), 0);
        EXPECT_EQ(machine->take_log().at(0).text, "bye");
    }
    EXPECT_EQ(machine->unload(), -ENOENT);
    EXPECT_EQ(oopses(), lines());
}

TEST_F(HostKernel, ReportsWhatALoadOrAnUnloadLeavesBehind) {
    power_on(EIO);
    EXPECT_EQ(machine->load(), -EIO);
    EXPECT_FALSE(machine->loaded());
    EXPECT_EQ(oopses(), lines{"left behind by a failed load: memory: 48 bytes (allocation 1)"});

    power_on();
    ASSERT_EQ(machine->load(), 0);
    device_node *node = unit(1);
    ovk_kernel_of_iomap(node, 0);
    ovk_kernel_mutex_lock_killable(&ovk_measurement_mutex);
    machine->unload();
    const std::string by = "left behind by the unloaded module: ";
    EXPECT_EQ(oopses(), (lines{by + "window: unit, 0x100 bytes at 0x1000",
                               by + "node references: 1 to /soc/unit@1000",
                               by + "the measurement lock, held"}));
    EXPECT_EQ(machine->holdings(), lines());
}

// Drivers of this test. What their callbacks do is up to each test.
static lines calls;
static int probe_code = 0;
static device *suspend_refuser;
static ssize_t (*shown)(char *);
static ssize_t (*taken)(const char *, size_t);

static int probe(platform_device *pdev) {
    device *dev = ovk_kernel_platform_device_dev(pdev);
    ovk_kernel_devm_kmalloc(dev, 8, GFP_KERNEL);
    resource *range = ovk_kernel_platform_get_resource(pdev, IORESOURCE_MEM, 0);
    void *window = ovk_kernel_devm_ioremap_resource(dev, range);
    EXPECT_EQ(PTR_ERR(ovk_kernel_devm_ioremap_resource(dev, nullptr)), -EINVAL);
    EXPECT_EQ(PTR_ERR(ovk_kernel_devm_ioremap_resource(dev, range)), -EBUSY);
    ovk_kernel_dev_set_drvdata(dev, window);
    suspend_refuser = suspend_refuser ? suspend_refuser : dev;
    calls.push_back(std::string("probe ") +
                    static_cast<const char *>(ovk_kernel_of_device_get_match_data(dev)));
    return probe_code;
}
static int removed(platform_device *) {
    calls.push_back("remove");
    return 0;
}
static int sleepy(device *dev) {
    calls.push_back("suspend");
    return suspend_refuser == dev ? -EBUSY : 0;
}
static int woken(device *dev) {
    calls.push_back("resume");
    ovk_kernel_writel(5, ovk_kernel_dev_get_drvdata(dev));
    return 0;
}
static ssize_t show(device_driver *, char *page) {
    return shown(page);
}
static ssize_t store(device_driver *, const char *text, size_t size) {
    return taken(text, size);
}

static const of_device_id matches[] = {{"", "", "test,a", "a"}, {"", "", "test,b", "b"}, {}};
static const dev_pm_ops power = {sleepy, woken, nullptr, nullptr, nullptr, nullptr};
static driver_attribute both = {"both", 0644, show, store, {}};
static driver_attribute second = {"second", 0644, show, nullptr, {}};
static driver_attribute write_only = {"write_only", 0200, show, store, {}};

class HostDrivers : public HostKernel {
  protected:
    void SetUp() override {
        HostKernel::SetUp();
        calls.clear();
        probe_code = 0;
        suspend_refuser = nullptr;
        ASSERT_EQ(ovk_kernel_platform_driver_register(&files_driver), 0);
        device_driver *driver = ovk_kernel_driver_find("ovk-bw", &platform_bus_type);
        for (driver_attribute *each : {&both, &second, &write_only}) {
            ASSERT_EQ(ovk_kernel_driver_create_file(driver, each), 0);
        }
        EXPECT_EQ(ovk_kernel_driver_create_file(driver, &both), -EEXIST);
        EXPECT_EQ(ovk_kernel_driver_create_file(nullptr, &both), -EINVAL);
        EXPECT_EQ(ovk_kernel_platform_driver_register(&files_driver), -EBUSY);
    }
    void TearDown() override {
        if (ovk_kernel_driver_find("ovk-bw", &platform_bus_type)) {
            ovk_kernel_platform_driver_unregister(&files_driver);
        }
    }

    ovk_platform_driver files_driver = {"ovk-bw", nullptr, nullptr, nullptr, nullptr, {}};
    ovk_platform_driver units = {"ovk-effi", matches, &power, probe, removed, {}};
};

// Children of a node that is no bus are none, however compatible they are.
TEST_F(HostDrivers, BindsDevicesOfBusesInTreeOrderAndReleasesWhatTheyOwn) {
    ASSERT_EQ(ovk_kernel_platform_driver_register(&units), 0);
    EXPECT_EQ(calls, (lines{"probe b", "probe b", "probe b"}));
    EXPECT_EQ(machine->bound_devices(), (lines{"unit@1000", "unit@2000", "part@5000"}));
    EXPECT_EQ(machine->holdings().size(), 8u);  // two drivers, three windows, three blocks
    calls.clear();
    EXPECT_EQ(machine->suspend(), -EBUSY);
    EXPECT_EQ(calls, (lines{"suspend", "suspend", "suspend", "resume", "resume"}));
    suspend_refuser = nullptr;
    EXPECT_EQ(machine->suspend(), 0);
    EXPECT_TRUE(bus.words.empty());
    EXPECT_EQ(machine->resume(), 0);
    EXPECT_EQ(bus.words,
              (std::map<std::uint64_t, std::uint64_t>{{0x1000, 5}, {0x2000, 5}, {0x5000, 5}}));
    calls.clear();
    ovk_kernel_platform_driver_unregister(&units);
    EXPECT_EQ(calls, (lines{"remove", "remove", "remove"}));
    EXPECT_EQ(machine->holdings().size(), 1u);

    probe_code = -ENXIO;
    ASSERT_EQ(ovk_kernel_platform_driver_register(&units), 0);
    EXPECT_EQ(machine->bound_devices(), lines());
    EXPECT_EQ(machine->holdings().size(), 2u);
    ovk_kernel_platform_driver_unregister(&units);
    EXPECT_EQ(oopses(), lines());
}

TEST_F(HostDrivers, ReadsAndWritesAsAProcessDoes) {
    shown = [](char *page) -> ssize_t { return ovk_kernel_snprintf(page, 4096, "page\n"); };
    EXPECT_EQ(machine->read("both").text, "page\n");
    EXPECT_EQ(machine->read("none").code, -ENOENT);
    EXPECT_EQ(machine->read("write_only").code, -EACCES);
    EXPECT_EQ(machine->write("second", "x"), -EIO);
    shown = [](char *) -> ssize_t { return -EINVAL; };
    EXPECT_EQ(machine->read("both").code, -EINVAL);

    taken = [](const char *text, size_t size) -> ssize_t {
        EXPECT_EQ(std::strlen(text), size);
        calls.push_back(std::to_string(size));
        return static_cast<ssize_t>(size > 3 ? size - 3 : size);
    };
    EXPECT_EQ(machine->write("both", ""), 0);
    EXPECT_EQ(machine->write("both", std::string(5000, 'x')), 5000);
    EXPECT_EQ(calls, (lines{"4096", "907", "3"}));
    EXPECT_EQ(oopses(), lines());
}

TEST_F(HostDrivers, ObjectsToBadHandlers) {
    shown = [](char *page) -> ssize_t {
        std::memset(page, 'x', 4097);
        return 4096;
    };
    EXPECT_EQ(machine->read("both").text, std::string(4095, 'x'));
    EXPECT_EQ(oopses(),
              (lines{"show of both wrote past its page", "show of both returned bad count 4096"}));
    taken = [](const char *, size_t) -> ssize_t {
        return ovk_kernel_mutex_lock_killable(&ovk_measurement_mutex);
    };
    EXPECT_EQ(machine->write("both", "x"), 0);
    EXPECT_EQ(oopses(), (lines{"store of both returned 0: the writer would loop",
                               "a handler of both returned with the measurement lock held"}));
    taken = [](const char *, size_t size) -> ssize_t {
        ovk_kernel_mutex_lock_killable(&ovk_emi_mutex);
        ovk_kernel_mutex_lock_killable(&ovk_measurement_mutex);
        ovk_kernel_mutex_unlock(&ovk_measurement_mutex);
        ovk_kernel_mutex_unlock(&ovk_emi_mutex);
        return static_cast<ssize_t>(size);
    };
    EXPECT_EQ(machine->write("both", "x"), 1);
    EXPECT_EQ(oopses(), lines{"the measurement lock is taken inside one that goes inside it"});
}

// A handler that waits, with the lock held, until the test lets it go.
static std::promise<void> entered, released;

class HostHandlers : public HostDrivers {
  protected:
    void SetUp() override {
        HostDrivers::SetUp();
        entered = {};
        released = {};
        shown = [](char *) -> ssize_t {
            if (const int code = ovk_kernel_mutex_lock_killable(&ovk_measurement_mutex)) {
                return code;
            }
            entered.set_value();
            released.get_future().wait();
            ovk_kernel_mutex_unlock(&ovk_measurement_mutex);
            return 1;
        };
        reader = std::async(std::launch::async, [this] { return machine->read("both").code; });
        entered.get_future().wait();
    }
    static bool ready(const auto &future) {
        return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }

    std::future<long> reader;
};

TEST_F(HostHandlers, AreWaitedForWhenTheirDriverGoes) {
    auto removal = std::async(std::launch::async,
                              [this] { ovk_kernel_platform_driver_unregister(&files_driver); });
    taken = [](const char *, size_t size) -> ssize_t { return static_cast<ssize_t>(size); };
    long code = 1;
    while (code >= 0) {
        std::this_thread::yield();
        code = machine->write("both", "x");
    }
    EXPECT_EQ(code, -ENODEV);
    EXPECT_FALSE(ready(removal));
    released.set_value();
    removal.get();
    EXPECT_EQ(reader.get(), 1);
    EXPECT_EQ(machine->read("both").code, -ENOENT);
}

TEST_F(HostHandlers, LeaveTheQueueForTheLockWhenKilled) {
    auto waiter = std::async(std::launch::async, [this] { return machine->read("second").code; });
    while (!ready(waiter)) {
        machine->kill_waiters();
        std::this_thread::yield();
    }
    EXPECT_EQ(waiter.get(), -EINTR);
    released.set_value();
    EXPECT_EQ(reader.get(), 1);
    EXPECT_EQ(oopses(), lines());
}

}  // namespace tests
