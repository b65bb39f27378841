// SPDX-License-Identifier: GPL-2.0-only
// Processes that meet in the module.
#include <atomic>
#include <condition_variable>
#include <future>
#include <thread>

#include "tests/rig.h"

namespace tests {

namespace {

constexpr std::uint32_t larb_limit_of_port_2 = 0x208;
constexpr std::uint32_t larb_monitor_clear = 0x404;

// A chip that holds up a processor at a register of larb 3, until the gate opens.
class gated_bus : public host::bus {
  public:
    gated_bus(const devicetree::flat_tree &tree, std::uint32_t offset)
        : chip_(tree), gate_address_(tree.by_name("larb3")->reg.front().start + offset) {}

    std::uint64_t load(std::uint64_t address, unsigned width) override {
        pass(address);
        return chip_.load(address, width);
    }
    void store(std::uint64_t address, unsigned width, std::uint64_t value) override {
        pass(address);
        chip_.store(address, width, value);
    }
    void advance(std::uint64_t now_us) override { chip_.advance(now_us); }
    std::optional<std::uint64_t> next_event() const override { return chip_.next_event(); }
    void power_lost() override { chip_.power_lost(); }
    std::vector<std::string> take_complaints() override { return chip_.take_complaints(); }

    sim::chip_bus &chip() { return chip_; }
    void wait_until_reached() {
        std::unique_lock lock(guard_);
        changed_.wait(lock, [this] { return reached_; });
    }
    void open() {
        const std::lock_guard lock(guard_);
        open_ = true;
        changed_.notify_all();
    }

  private:
    void pass(std::uint64_t address) {
        if (address == gate_address_) {
            std::unique_lock lock(guard_);
            reached_ = true;
            changed_.notify_all();
            changed_.wait(lock, [this] { return open_; });
        }
    }

    sim::chip_bus chip_;
    std::uint64_t gate_address_;
    std::mutex guard_;
    std::condition_variable changed_;
    bool reached_ = false;
    bool open_ = false;
};

}  // namespace

// The line has the selection at its printing, and the limit of the port that was read.
TEST(concurrency, a_readout_of_a_limit_names_the_port_that_is_selected_in_the_end) {
    const devicetree::flat_tree tree = sim::chip_tree("zt420");
    gated_bus bus(tree, larb_limit_of_port_2);
    host::machine machine(tree, bus, {.module_image = sim::module_image(), .dram_freq = {}});
    ASSERT_EQ(machine.load(), 0);
    machine.write("larb_ostdl", "3 2\n");
    bus.chip().poke(tree.by_name("larb3")->reg.front().start + larb_limit_of_port_2, 32, 0x3f);

    auto readout = std::async(std::launch::async, [&] { return machine.read("larb_ostdl").text; });
    bus.wait_until_reached();
    machine.write("larb_ostdl", "1 5\n");
    bus.open();
    EXPECT_EQ(readout.get(), "larb id: 1, port id: 5, ostdl: 0x3f\033[K\n");
    EXPECT_EQ(machine.unload(), 0);
    EXPECT_EQ(machine.take_oopses(), lines{});
}

// GOP's larb stands at the gate in the middle of a measurement.
TEST(concurrency, a_reader_that_waits_for_a_measurement_can_be_killed) {
    const devicetree::flat_tree tree = sim::chip_tree("zt420");
    gated_bus bus(tree, larb_monitor_clear);
    host::machine machine(tree, bus, {.module_image = sim::module_image(), .dram_freq = {}});
    ASSERT_EQ(machine.load(), 0);
    std::atomic<long> measured = 0;
    std::atomic<long> waited = 0;

    std::thread measuring([&] { measured = machine.read("bw_larb").code; });
    bus.wait_until_reached();
    std::thread waiting([&] { waited = machine.read("bw_bus").code; });
    // The signal is repeated, since it may come before the reader waits.
    std::thread killer([&] {
        while (waited == 0) {
            machine.kill_waiters();
            std::this_thread::yield();
        }
    });
    waiting.join();
    killer.join();
    bus.open();
    measuring.join();
    EXPECT_EQ(waited, -4);
    EXPECT_GT(measured, 0);
    EXPECT_EQ(machine.unload(), 0);
    EXPECT_EQ(machine.take_oopses(), lines{});
}

TEST(concurrency, a_software_loop_of_the_traffic_generator_ends_when_another_writer_says_so) {
    rig r("zt410");
    r.loaded();
    r.write("fake_eng_loop", "1 1\n");
    r.machine().set_tracing(true);

    std::thread looping([&] { r.machine().write("fake_engine", "1 80000000 1000 2 a5a5\n"); });
    // Several passes have been started when the command has been written that often.
    std::size_t starts = 0;
    while (starts < 3) {
        for (const std::string &access : r.trace()) {
            starts += access.ends_with("+0x000 0x00000009") ? 1 : 0;
        }
        std::this_thread::yield();
    }
    r.write("fake_eng_loop", "1 0\n");
    looping.join();
    EXPECT_NE(r.read("fake_engine").find("Fake engine 1: \033[32mPASS\033[0m\n"),
              std::string::npos);
}

TEST(concurrency, a_fatal_signal_ends_a_software_loop) {
    rig r("zt410");
    r.loaded();
    r.write("fake_eng_loop", "1 1\n");
    r.machine().set_tracing(true);

    std::atomic<bool> ended = false;
    std::thread looping([&] {
        r.machine().write("fake_engine", "1 80000000 1000 2 a5a5\n");
        ended = true;
    });
    while (!ended) {
        r.machine().kill_waiters();
        r.machine().take_trace();
        std::this_thread::yield();
    }
    looping.join();
    EXPECT_EQ(r.peek("miu2gmc1+0x000") & 1, 0u);
}

}  // namespace tests
