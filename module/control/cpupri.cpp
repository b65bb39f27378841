// SPDX-License-Identifier: GPL-2.0-only
// Attributes cpupri and cpupri_slot: address ranges with a CPU access priority.
#include "core/handlers.h"
#include "core/register_window.h"
#include "core/report_buffer.h"

// The control word: an enable bit for each scope, and one mode for all of them. Stores take it as
// the lower half of a doubleword.
static constexpr u32 cpu_control = 0x18;
static constexpr u64 cpu_control_mode = 3u << 4;
static constexpr u32 cpu_control_mode_shift = 4;
constexpr u32 cpu_scope_bit(u32 scope) {
    return 1u << (scope + 1);
}

// The range of a scope in pages, 16 bits a register.
static constexpr u32 cpu_scopes = 3;
static constexpr u32 cpu_scope_stride = 16;
static constexpr u32 cpu_start_low = 0x1c;
static constexpr u32 cpu_start_high = 0x20;
static constexpr u32 cpu_end_low = 0x24;
static constexpr u32 cpu_end_high = 0x28;
static constexpr u32 half_shift = 16;
static constexpr u64 half_mask = 0xffff;

static constexpr u64 page_bytes = 0x1000;
static constexpr u32 page_shift = 12;

enum cpu_operation : u32 { CPU_DISABLE = 0, CPU_MODE_1 = 1, CPU_MODE_2 = 2 };

struct cpu_request {
    u32 operation;
    u32 scope;
    u64 start;  // bytes
    u64 size;
};

static register_window map_cpu_pri() {
    const node_ref node(of_find_node_by_name(nullptr, "cpu_pri"));

    return node ? map_node(node.get()) : register_window();
}

static bool is_range(const cpu_request &request) {
    return request.size >= page_bytes && request.start % page_bytes == 0 &&
           request.size % page_bytes == 0;
}

static bool is_allowed(const cpu_request &request) {
    if (request.scope >= cpu_scopes) {
        return false;
    }
    switch (request.operation) {
        case CPU_DISABLE:
            return true;
        case CPU_MODE_1:
        case CPU_MODE_2:
            return is_range(request);
        default:
            return false;
    }
}

static void write_range(const register_window &block, const cpu_request &request) {
    const u32 scope = request.scope * cpu_scope_stride;
    const u64 start = request.start >> page_shift;
    const u64 end = ((request.start + request.size) >> page_shift) - 1;

    block.write32(cpu_start_low + scope, static_cast<u32>(start & half_mask));
    block.write32(cpu_start_high + scope, static_cast<u32>((start >> half_shift) & half_mask));
    block.write32(cpu_end_low + scope, static_cast<u32>(end & half_mask));
    block.write32(cpu_end_high + scope, static_cast<u32>(end >> half_shift));
}

// The mode has to be there before the scope takes effect.
static void enable_scope(const register_window &block, const cpu_request &request) {
    write_range(block, request);
    const u64 control = (block.read64(cpu_control) & ~cpu_control_mode) |
                        (u64{request.operation} << cpu_control_mode_shift);
    block.write64(cpu_control, control);
    wmb();
    block.write64(cpu_control, control | cpu_scope_bit(request.scope));
    wmb();
}

static void disable_scope(const register_window &block, const cpu_request &request) {
    block.update64(cpu_control, cpu_scope_bit(request.scope), 0);
    wmb();
}

static bool is_enabled(const register_window &block, u32 scope) {
    return (block.read32(cpu_control) & cpu_scope_bit(scope)) != 0;
}

static u64 read_page(const register_window &block, u32 low, u32 high) {
    const u64 low_half = block.read16(low);

    return (u64{block.read16(high)} << half_shift) | low_half;
}

static void render_scope(char *buf, u32 *len, const register_window &block, u32 scope) {
    const u32 offset = scope * cpu_scope_stride;
    const u64 start = read_page(block, cpu_start_low + offset, cpu_start_high + offset);
    const u64 end = read_page(block, cpu_end_low + offset, cpu_end_high + offset);

    putbuf(buf, len, "scope:%d - start addr:0x%llx, end addr:0x%llx\n", static_cast<int>(scope),
           start << page_shift, (end << page_shift) | (page_bytes - 1));
}

extern "C" {

// The one store that refuses with an error code, EPERM: a service sets these ranges and has to
// know.
ssize_t cpupri_store(device_driver *, const char *buf, size_t count) {
    s32 operation;
    s32 scope;
    cpu_request request{};

    const register_window block = map_cpu_pri();
    if (!block ||
        sscanf(buf, "%d %d 0x%llx 0x%llx", &operation, &scope, &request.start, &request.size) < 2) {
        return -EPERM;
    }
    request.operation = static_cast<u32>(operation);
    request.scope = static_cast<u32>(scope);
    if (!is_allowed(request)) {
        return -EPERM;
    }
    if (request.operation == CPU_DISABLE) {
        disable_scope(block, request);
    } else {
        enable_scope(block, request);
    }
    return static_cast<ssize_t>(count);
}

ssize_t cpupri_show(device_driver *, char *buf) {
    const register_window block = map_cpu_pri();
    u32 len = 0;

    for (u32 scope = 0; block && scope < cpu_scopes; scope++) {
        if (is_enabled(block, scope)) {
            render_scope(buf, &len, block, scope);
        }
    }
    return len;
}

ssize_t cpupri_slot_show(device_driver *, char *buf) {
    const register_window block = map_cpu_pri();
    u32 scope = 0;
    u32 len = 0;

    if (!block) {
        return 0;
    }
    while (scope < cpu_scopes && is_enabled(block, scope)) {
        scope++;
    }
    putbuf(buf, &len, "%d\n", scope < cpu_scopes ? static_cast<int>(scope) : -1);
    return len;
}

}  // extern "C"
