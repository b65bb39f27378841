// SPDX-License-Identifier: GPL-2.0-only
// Attributes cpupri and cpupri_slot: address ranges with a CPU access priority.
#include "base/handler.h"
#include "base/register_window.h"
#include "core/report_buffer.h"
#include "registers/cpu_pri.h"

static constexpr u32 half_shift = 16;
static constexpr u64 half_mask = 0xffff;
static constexpr u64 page_bytes = 1u << cpu_page_shift;

enum cpu_operation : u32 { CPU_DISABLE = 0, CPU_MODE_1 = 1, CPU_MODE_2 = 2 };

struct cpu_request {
    u32 operation;
    u32 scope;
    u64 start;  // bytes
    u64 size;
};

static register_window map_cpu_pri() {
    const node_ref node(of_find_node_by_name(nullptr, cpu_pri_node));

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
    const u64 start = request.start >> cpu_page_shift;
    const u64 end = ((request.start + request.size) >> cpu_page_shift) - 1;

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

static void render_scope(report_page &page, const register_window &block, u32 scope) {
    const u32 offset = scope * cpu_scope_stride;
    const u64 start = read_page(block, cpu_start_low + offset, cpu_start_high + offset);
    const u64 end = read_page(block, cpu_end_low + offset, cpu_end_high + offset);

    page.put("scope:%d - start addr:0x%llx, end addr:0x%llx\n", static_cast<int>(scope),
             start << cpu_page_shift, (end << cpu_page_shift) | (page_bytes - 1));
}

// The one store that refuses with an error code, EPERM: a service sets these ranges and has to
// know.
STORE_HANDLER(cpupri) {
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
    return taken(count);
}

SHOW_HANDLER(cpupri) {
    const register_window block = map_cpu_pri();
    report_page page(buf);

    for (u32 scope = 0; block && scope < cpu_scopes; scope++) {
        if (is_enabled(block, scope)) {
            render_scope(page, block, scope);
        }
    }
    return page.length();
}

SHOW_HANDLER(cpupri_slot) {
    const register_window block = map_cpu_pri();
    u32 scope = 0;
    report_page page(buf);

    if (!block) {
        return 0;
    }
    while (scope < cpu_scopes && is_enabled(block, scope)) {
        scope++;
    }
    page.put("%d\n", scope < cpu_scopes ? static_cast<int>(scope) : -1);
    return page.length();
}
