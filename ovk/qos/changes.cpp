// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/qos/changes.h"

#include <algorithm>
#include <sstream>

namespace ovk {

namespace {

using writes = std::vector<attribute_write>;

constexpr std::uint64_t page_bytes = 0x1000;

std::string hexadecimal(std::uint64_t value) {
    std::ostringstream text;
    text << std::hex << value;
    return text.str();
}

std::string shown(std::uint64_t value) {
    return "0x" + hexadecimal(value);
}

std::string shown(const cpu_scope &scope) {
    return scope.range ? shown(scope.range->start) + "-" + shown(scope.range->end) : "off";
}

std::string text_for(const setting_key &key, std::uint64_t value) {
    std::string text;
    for (const char *each = kind_of(key).text; *each != '\0'; ++each) {
        text += *each == 'B'   ? std::to_string(key.block)
                : *each == 'P' ? std::to_string(key.port)
                : *each == 'V' ? hexadecimal(value)
                               : std::string(1, *each);
    }
    return text;
}

writes writes_of(const setting_key &key, std::uint64_t value) {
    const setting_kind &kind = kind_of(key);
    return value < kind.values ? writes{{kind.attribute, text_for(key, value)}} : writes{};
}

bool is_taken(const address_range &range) {
    return range.start < range.end && range.start % page_bytes == 0 &&
           (range.end - range.start + 1) % page_bytes == 0;
}

// A scope is switched off first, so that no half of a range is in force.
writes writes_of(std::size_t number, const cpu_scope &from, const cpu_scope &to, unsigned mode) {
    const std::string scope = " " + std::to_string(number);
    writes all;

    if (to.range && !is_taken(*to.range)) {
        return {};
    }
    if (from.range || !to.range) {
        all.push_back({"cpupri", "0" + scope});
    }
    if (to.range) {
        all.push_back({"cpupri", std::to_string(mode) + scope + " " + shown(to.range->start) + " " +
                                     shown(to.range->end - to.range->start + 1)});
    }
    return all;
}

void compare_ports(const qos_settings &now, const qos_settings &wanted, difference &found) {
    for (const auto &[key, value] : wanted.ports) {
        const auto present = now.ports.find(key);
        if (!value || (present != now.ports.end() && present->second == value)) {
            continue;
        }
        if (present == now.ports.end() || !present->second) {
            found.unknown.push_back(words_for(key));
        } else {
            found.changes.push_back({words_for(key), shown(*present->second), shown(*value),
                                     writes_of(key, *value), writes_of(key, *present->second)});
        }
    }
}

void compare_cpu(const qos_settings &now, const qos_settings &wanted, unsigned mode,
                 difference &found) {
    for (std::size_t i = 0; i < cpu_scopes; ++i) {
        const cpu_scope &from = now.cpu.at(i);
        const cpu_scope &to = wanted.cpu.at(i);
        const std::string what = "CPU range of scope " + std::to_string(i);
        if (!to.known || (from.known && from.range == to.range)) {
            continue;
        }
        if (!from.known) {
            found.unknown.push_back(what);
        } else {
            found.changes.push_back({what, shown(from), shown(to), writes_of(i, from, to, mode),
                                     writes_of(i, to, from, mode)});
            found.switches_on = true;
        }
    }
}

}  // namespace

std::string words_for(const change &each) {
    return each.what + ": " + each.now + " -> " + each.wanted;
}

difference difference_of(const qos_settings &now, const qos_settings &wanted, unsigned cpu_mode) {
    difference found;

    compare_ports(now, wanted, found);
    compare_cpu(now, wanted, cpu_mode, found);
    std::stable_partition(found.changes.begin(), found.changes.end(),
                          [](const change &each) { return !each.back.empty(); });
    return found;
}

}  // namespace ovk
