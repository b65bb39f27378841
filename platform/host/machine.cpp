// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/machine.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "platform/host/state.h"

namespace host {

static constexpr std::string_view attribute_driver = "ovk-bw";
static constexpr std::string_view device_driver_name = "ovk-effi";

static std::atomic<machine::state *> the_machine = nullptr;

machine::state &current_machine() {
    machine::state *state = the_machine;
    if (!state) {
        std::fputs("a kernel service was called while there was no machine\n", stderr);
        std::abort();
    }
    return *state;
}

// The DRAM controller's channels: as asked for, or as the tree has them.
static std::vector<std::uint32_t> channel_frequencies(const devicetree::flat_tree &tree,
                                                      std::vector<std::uint32_t> asked) {
    const devicetree::node *controller = tree.by_name("dramc");
    if (!asked.empty() || !controller) {
        return asked;
    }
    return controller->u32_array("channel-freq");
}

// How many channels it says there are; an error code where the tree has one.
static std::uint32_t channel_count(const devicetree::flat_tree &tree, std::size_t frequencies) {
    const devicetree::node *controller = tree.by_name("dramc");
    const auto fallback = static_cast<std::uint32_t>(frequencies);
    return controller ? controller->u32("channel-cnt").value_or(fallback) : fallback;
}

machine::state::state(const devicetree::flat_tree &flat, bus &bus_below, options opts)
    : flat_tree(flat),
      dram_frequencies(channel_frequencies(flat, std::move(opts.dram_freq))),
      dram_channels(channel_count(flat, dram_frequencies.size())),
      hardware(bus_below, opts.realtime, oopses, trace),
      memory(faults, oopses),
      windows(hardware, oopses),
      tree(flat, faults, oopses),
      files(faults, oopses),
      devices(flat, memory, windows, files, faults, oopses),
      masks(flat, hardware, faults),
      image(opts.module_image, oopses) {}

std::vector<std::string> machine::state::holdings() const {
    std::vector<std::string> result = devices.holdings();
    for (const auto &part : {memory.holdings(), windows.holdings(), tree.holdings()}) {
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

void machine::state::settle(const std::string &occasion) {
    const std::string left = "left behind by " + occasion + ": ";
    for (const std::string &held : holdings()) {
        oopses.add(std::string(left).append(held));
    }
    devices.clear();
    for (mutex *const each : kernel_mutexes()) {
        if (each->release_from_anyone()) {
            oopses.add(left + each->text() + ", held");
        }
    }
    memory.clear();
    windows.clear();
    tree.clear();
}

// Takes its turn among loads, unloads and power transitions.
class turn {
  public:
    explicit turn(std::binary_semaphore &gate) : gate_(gate) { gate_.acquire(); }
    ~turn() { gate_.release(); }
    turn(const turn &) = delete;
    turn &operator=(const turn &) = delete;

  private:
    std::binary_semaphore &gate_;
};

machine::machine(const devicetree::flat_tree &tree, bus &hardware, options opts)
    : state_(std::make_unique<state>(tree, hardware, std::move(opts))) {
    state *none = nullptr;
    if (!the_machine.compare_exchange_strong(none, state_.get())) {
        throw std::logic_error("a process has room for one machine at a time");
    }
    for (mutex *const each : kernel_mutexes()) {
        each->release_from_anyone();
    }
}

machine::~machine() {
    unload();
    state_->settle("the machine's user");
    const std::vector<std::string> oopses = take_oopses();
    for (const std::string &line : oopses) {
        std::fprintf(stderr, "oops: %s\n", line.c_str());
    }
    if (!oopses.empty()) {
        std::abort();
    }
    the_machine = nullptr;
}

int machine::load() {
    turn mine(state_->transition);
    if (state_->loaded) {
        return -EEXIST;
    }
    if (const int code = state_->image.open(); code != 0) {
        return code;
    }
    const int code = state_->image.call_init();
    if (code < 0) {
        state_->settle("a failed load");
        state_->image.close();
        return code;
    }
    if (code > 0) {
        state_->oopses.add("init_module returned " + std::to_string(code));
    }
    check_mutexes(state_->oopses, "init_module");
    state_->loaded = true;
    return 0;
}

int machine::unload() {
    turn mine(state_->transition);
    if (!state_->loaded) {
        return -ENOENT;
    }
    state_->image.call_cleanup();
    state_->loaded = false;
    state_->settle("the unloaded module");
    state_->image.close();
    return 0;
}

bool machine::loaded() const {
    return state_->loaded;
}

std::vector<attribute_info> machine::attributes() const {
    return state_->files.list(attribute_driver);
}

machine::read_result machine::read(std::string_view attribute) {
    return state_->files.read(attribute_driver, attribute);
}

long machine::write(std::string_view attribute, std::string_view text) {
    return state_->files.write(attribute_driver, attribute, text);
}

void machine::kill_waiters() {
    state_->files.kill_handlers();
    for (mutex *const each : kernel_mutexes()) {
        each->kill_waiters();
    }
}

void machine::interrupt_handlers() {
    state_->files.interrupt_handlers();
}

int machine::suspend() {
    turn mine(state_->transition);
    const int code = state_->devices.suspend();
    if (code == 0) {
        state_->hardware.power_lost();
    }
    return code;
}

int machine::resume() {
    turn mine(state_->transition);
    return state_->devices.resume();
}

std::vector<std::string> machine::bound_devices() const {
    return state_->devices.bound_devices(device_driver_name);
}

std::vector<log_line> machine::take_log() {
    return state_->log.take();
}

void machine::set_tracing(bool on) {
    state_->trace.enable(on);
}

std::vector<trace_entry> machine::take_trace() {
    return state_->trace.take();
}

std::uint64_t machine::now_us() const {
    return state_->hardware.now_us();
}

std::uint64_t machine::waited_us() const {
    return state_->hardware.waited_us();
}

void machine::elapse(std::uint64_t us) {
    state_->hardware.elapse(us);
}

void machine::fail_nth(fault_kind kind, std::uint64_t n) {
    state_->faults.fail_nth(kind, n);
}

void machine::fail_named(fault_kind kind, std::string name) {
    state_->faults.fail_named(kind, std::move(name));
}

void machine::clear_faults() {
    state_->faults.clear();
}

std::uint64_t machine::requests(fault_kind kind) const {
    return state_->faults.requests(kind);
}

std::vector<std::string> machine::take_oopses() {
    return state_->oopses.take();
}

std::vector<std::string> machine::holdings() const {
    return state_->holdings();
}

machine::allocation_count machine::allocations() const {
    return state_->memory.allocations();
}

const devicetree::flat_tree &machine::tree() const {
    return state_->flat_tree;
}

}  // namespace host
