// SPDX-License-Identifier: GPL-2.0-only
// Attributes fake_engine and fake_eng_loop: the traffic generators of the MIU2GMC blocks.
#include "debug/fake_engine.h"

#include "base/device_node.h"
#include "base/handler.h"
#include "base/memory.h"
#include "base/register_window.h"
#include "base/shared.h"
#include "base/trace.h"
#include "core/report_buffer.h"
#include "registers/miu2gmc.h"

static constexpr u32 half_shift = 16;
static constexpr u64 half_mask = 0xffff;
static constexpr u32 address_bits = 64;

static constexpr u64 size_max = u64{1} << 32;

static constexpr unsigned long poll_min_us = 499;
static constexpr unsigned long poll_max_us = 501;
static constexpr u64 ms_per_second = 1000;
static constexpr u64 test_limit_s = 10;  // and a second for each of these:
static constexpr u64 test_bytes_per_second = u64{32} << 20;
static constexpr u32 loop_polls = 101;

// Results of a test.
static constexpr u32 result_none = 0;
static constexpr u32 result_pass = 1;
static constexpr u32 result_fail = 2;
static constexpr u32 result_no_device = ~0u;

// Set-up of the generators, and the engines. A slot is a larb of their module.
static u32 fake_eng_st_align;  // bits by which a start address is shifted right
static u32 loop_mode_gen1;     // 1: loop bit in the older of its two registers
static u8 fake_eng_loop_mode;  // 1: loops run in hardware
static u32 engine_slots;       // for which there is room
static u32 fake_eng_num;       // engines, in the first slots
static u32 *fake_eng_list;     // engine ids
static u32 *fake_eng_result;   // last result of each engine
static u32 *fake_eng_loop;     // loop setting of each engine

// Non-zero: the module is about to go, and no test is repeated any more.
static u32 stopping;

struct engine_test {
    u64 start;  // bytes
    u64 size;
    u16 pattern;
    u32 type;
    u32 id;
};

static register_window map_engine(u32 id, const char *missing) {
    const node_ref node = find_numbered_node(miu2gmc_node_prefix, id);
    register_window window = node ? map_node(node.get()) : register_window();

    if (!window) {
        printk(KERN_ERR "[OVK_BW]%s[%d] device base!!\n", missing, static_cast<int>(id));
    }
    return window;
}

static void program(const register_window &engine, const engine_test &test) {
    const u64 length = test.size >> engine_length_shift;
    const u64 start = fake_eng_st_align < address_bits ? test.start >> fake_eng_st_align : 0;

    engine.write32(engine_control, engine_control_idle);
    engine.write32(engine_reset, 0);
    engine.write32(engine_length_low, static_cast<u32>(length & half_mask));
    engine.write32(engine_length_high, static_cast<u32>((length >> half_shift) & half_mask));
    engine.write32(engine_pattern, test.pattern);
    engine.write32(engine_start_low, static_cast<u32>(start & half_mask));
    engine.write32(engine_start_high, static_cast<u32>((start >> half_shift) & half_mask));
}

static void start_pass(const register_window &engine, u32 type) {
    engine.write32(engine_control, engine_commands[type].first);
    engine.write32(engine_control, engine_commands[type].second);
}

// An engine may stand behind limits that leave it a small part of its pace.
static u64 pass_limit_ns(const engine_test &test) {
    const u64 moved = test.type == engine_read_and_write ? 2 * test.size : test.size;

    return (test_limit_s + moved / test_bytes_per_second) * ms_per_second * NSEC_PER_MSEC;
}

// Waits for the end of a pass. False: it never came, which has been logged, or the process has to
// end.
static bool wait_for_pass(const register_window &engine, const engine_test &test, u32 &status) {
    const u64 limit = pass_limit_ns(test);
    const u64 start = ktime_get_ns();
    u64 waited = 0;

    while (waited < limit) {
        usleep_range(poll_min_us, poll_max_us);
        waited = ktime_get_ns() - start;
        status = engine.read32(engine_control);
        if ((status & engine_status_done) != 0) {
            return true;
        }
        if (is_killed()) {
            return false;
        }
    }
    printk(KERN_ERR "[OVK_BW]MIU2GMC_DRV [%d] time out\n", static_cast<int>(test.id));
    return false;
}

// A signal ends a loop, whatever it is: Ctrl-C in a shell that handles it, or the freezer's, which
// puts processes to sleep outside the kernel only.
static bool is_repeated(const u32 &loop_flag) {
    return READ_ONCE(loop_flag) != 0 && READ_ONCE(stopping) == 0 && !signal_pending_of_current();
}

// Repeats the test while the engine's loop flag is set, until it fails to end or the process or the
// module has to.
static u32 run_passes(const register_window &engine, const engine_test &test,
                      const u32 &loop_flag) {
    u32 status = 0;
    bool ended = true;

    do {
        start_pass(engine, test.type);
        if (fake_eng_loop_mode == 1 && READ_ONCE(loop_flag) != 0) {
            return result_pass;
        }
        ended = wait_for_pass(engine, test, status);
        engine.write32(engine_control, engine_control_idle);
    } while (ended && is_repeated(loop_flag));
    return ended && (status & engine_status_error) == 0 ? result_pass : result_fail;
}

static u32 fake_engine_test(const engine_test &test, const u32 &loop_flag) {
    const register_window engine = map_engine(test.id, "Can't find MIU2GMC_DRV ");

    if (!engine) {
        return result_no_device;
    }
    TRACE("[OVK-BW] start address alignment[%u]\n", fake_eng_st_align);
    program(engine, test);
    return run_passes(engine, test, loop_flag);
}

// False: no engine has that id.
static bool find_engine(u32 id, u32 &entry) {
    for (u32 i = 0; i < fake_eng_num; i++) {
        if (fake_eng_list[i] == id) {
            entry = i;
            return true;
        }
    }
    return false;
}

static bool is_allowed(const engine_test &test) {
    if (test.size > size_max) {
        printk(KERN_ERR "[OVK_BW]Wrong size > 4GB\n");
        return false;
    }
    if (test.type >= engine_types) {
        printk(KERN_ERR "[OVK_BW]Wrong type, 0:Read 1:Write 2:R/W\n");
        return false;
    }
    return true;
}

// Hardware loop: the loop bit decides whether the engine goes on after a pass, so switching it
// waits for the pass that runs.
static void switch_hardware_loop(u32 id, bool on) {
    const register_window engine = map_engine(id, " Can't find MIU2GMC_DRV");

    if (!engine) {
        return;
    }
    TRACE("[OVK-BW] loop_mode_gen%u\n", loop_mode_gen1 != 0 ? 1u : 2u);
    engine.update32(loop_mode_gen1 != 0 ? engine_loop_gen1 : engine_loop_gen2, engine_loop_bit,
                    on ? engine_loop_bit : 0);
    wmb();
    for (u32 left = loop_polls; left > 0; left--) {
        if ((engine.read32(engine_control) & engine_status_done) != 0) {
            break;
        }
        usleep_range(poll_min_us, poll_max_us);
    }
    engine.write32(engine_control, engine_control_idle);
}

static bool prepare_engines(const device_node *node, u32 engines) {
    if (!read_u32(node, "alignment", fake_eng_st_align)) {
        return false;
    }
    loop_mode_gen1 = has_property(node, "loop-mode-gen1") ? 1 : 0;
    fake_eng_loop_mode = has_property(node, "hw-loop") ? 1 : 0;
    if (engines == 0) {
        return true;
    }
    fake_eng_list = allocate_zeroed<u32>(engines);
    fake_eng_result = allocate_zeroed<u32>(engines);
    fake_eng_loop = allocate_zeroed<u32>(engines);
    engine_slots = engines;
    return fake_eng_list && fake_eng_result && fake_eng_loop;
}

// A test of an engine that the tree leaves incomplete would write memory through a block that
// nobody described: only those that were stored are engines.
static void add_engine(u32 slot, u32 id) {
    if (slot < engine_slots) {
        fake_eng_list[slot] = id;
        fake_eng_num = slot < fake_eng_num ? fake_eng_num : slot + 1;
    }
}

const engine_keeper fake_engines = {.prepare = prepare_engines, .add = add_engine};

void release_engines() {
    kfree(fake_eng_list);
    kfree(fake_eng_result);
    kfree(fake_eng_loop);
    fake_eng_list = nullptr;
    fake_eng_result = nullptr;
    fake_eng_loop = nullptr;
    engine_slots = 0;
    fake_eng_num = 0;
}

void end_software_loops() {
    WRITE_ONCE(stopping, 1u);
}

void stop_hardware_loops() {
    for (u32 i = 0; fake_eng_loop_mode == 1 && i < fake_eng_num; i++) {
        if (fake_eng_loop[i] != 0) {
            switch_hardware_loop(fake_eng_list[i], false);
        }
    }
}

static const char *result_text(u32 result) {
    switch (result) {
        case result_none:
            return "NO RESULT\n";
        case result_pass:
            return "\033[32mPASS" ESC_RESET "\n";
        case result_fail:
            return "\033[31mFAIL" ESC_RESET "\n";
        default:
            return "NO DEVICE\n";
    }
}

SHOW_HANDLER(fake_engine) {
    report_page page(buf);

    for (u32 i = 0; i < fake_eng_num; i++) {
        page.put("Fake engine %d: ", static_cast<int>(fake_eng_list[i]));
        page.put("%s", result_text(READ_ONCE(fake_eng_result[i])));
    }
    return page.length();
}

STORE_HANDLER(fake_engine) {
    engine_test test{};
    u32 entry;

    if (sscanf(buf, "%u %llx %llx %u %hx", &test.id, &test.start, &test.size, &test.type,
               &test.pattern) != 5) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    printk(KERN_INFO "id = %u, start = %llx, size = %llx, type = %u, pattern = %hx\n", test.id,
           test.start, test.size, test.type, test.pattern);
    if (is_allowed(test) && find_engine(test.id, entry)) {
        const u32 result = fake_engine_test(test, fake_eng_loop[entry]);
        WRITE_ONCE(fake_eng_result[entry], result);
    }
    return taken(count);
}

STORE_HANDLER(fake_eng_loop) {
    u32 id;
    u32 on;
    u32 entry;

    if (sscanf(buf, "%u %u", &id, &on) != 2 || !find_engine(id, entry)) {
        printk(KERN_ERR "[OVK_BW]Wrong Argument!!\n");
        return taken(count);
    }
    WRITE_ONCE(fake_eng_loop[entry], on);
    printk(KERN_INFO "[OVK_BW]fake engine %d loop %s\n", static_cast<int>(id),
           on != 0 ? "on" : "off");
    if (fake_eng_loop_mode == 1) {
        switch_hardware_loop(id, on != 0);
    }
    return taken(count);
}
