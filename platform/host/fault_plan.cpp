// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/fault_plan.h"

#include <utility>

namespace host {

static std::size_t position(fault_kind kind) {
    return static_cast<std::size_t>(kind);
}

bool fault_plan::strikes(fault_kind kind, std::string_view name) {
    std::scoped_lock lock(guard_);
    plan &affected = plans_[position(kind)];
    ++affected.requests;
    const bool by_number = affected.numbers.erase(affected.requests) > 0;
    return by_number || affected.names.contains(name);
}

void fault_plan::fail_nth(fault_kind kind, std::uint64_t n) {
    std::scoped_lock lock(guard_);
    plan &affected = plans_[position(kind)];
    affected.numbers.insert(affected.requests + n);
}

void fault_plan::fail_named(fault_kind kind, std::string name) {
    std::scoped_lock lock(guard_);
    plans_[position(kind)].names.insert(std::move(name));
}

void fault_plan::clear() {
    std::scoped_lock lock(guard_);
    for (plan &affected : plans_) {
        affected.numbers.clear();
        affected.names.clear();
    }
}

std::uint64_t fault_plan::requests(fault_kind kind) const {
    std::scoped_lock lock(guard_);
    return plans_[position(kind)].requests;
}

}  // namespace host
