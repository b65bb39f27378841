// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/refusal.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>

namespace ovk {

namespace {

using words = std::vector<std::string>;

constexpr const char *complaints[] = {
    "Wrong Argument!!",          "[OVK_BW]Wrong REG",    "[OVK_BW]Wong bit",
    "[OVK_BW]Wrong bit value",   "[OVK_BW]Wrong size",   "[OVK_BW]Wrong type",
    "[OVK_BW]time can not be 0", "[OVK_BW]Mask error!!", "Something Wrong!!",
    "[OVK_BW]Can't f",           "[OVK_BW] Can't f",     ": of_iomap failed",
};

words words_of(std::string_view text) {
    std::istringstream stream{std::string(text)};
    words found;

    for (std::string word; stream >> word;) {
        found.push_back(word);
    }
    return found;
}

std::string in_base(const std::string &word, int base, const char *prefix, std::uint32_t mask) {
    std::ostringstream text;

    text << prefix << (*prefix == '\0' ? std::dec : std::hex)
         << (static_cast<std::uint32_t>(std::strtoull(word.c_str(), nullptr, base)) & mask);
    return text.str();
}

// What the attribute itself, or another one, has to show after a write that was taken. Limits are
// shown of the first channel only.
struct shown_setting {
    const char *attribute;
    std::size_t numbers;  // that the write has at least
    const char *shown_by;
    bool (*applies)(const words &);
    std::string (*text)(const words &);
};

bool always(const words &) {
    return true;
}

bool first_channel(const words &numbers) {
    return numbers[0] == "0";
}

std::string trace_switch(const words &numbers) {
    return "debug_log_on: " + in_base(numbers[0], 0, "", UINT32_MAX) + "\n";
}

std::string selected_port(const words &numbers) {
    return "larb id: " + in_base(numbers[0], 10, "", UINT32_MAX) +
           ", port id: " + in_base(numbers[1], 10, "", UINT32_MAX) + ",";
}

std::string bandwidth_limit(const words &numbers) {
    return "-->EMI-Port(" + in_base(numbers[1], 10, "", UINT32_MAX) +
           ") bw_limit: " + in_base(numbers[2], 16, "0x", 0x3f) + " ";
}

constexpr shown_setting shown_settings[] = {
    {"debug_log_on", 1, "debug_log_on", always, trace_switch},
    {"larb_ostdl", 2, "larb_ostdl", always, selected_port},
    {"bw_emi_lmt", 3, "emi_setting", first_channel, bandwidth_limit},
};

// Those that refuse too few numbers without a word.
struct silent_attribute {
    const char *attribute;
    std::size_t numbers;
};

constexpr silent_attribute silent_attributes[] = {
    {"bw_emi_lmt", 3},
    {"bw_emi_timer", 4},
    {"bw_emi_ostd", 4},
};

template <class T, std::size_t n>
const T *entry_of(const T (&table)[n], std::string_view attribute) {
    const auto *found =
        std::find_if(table, table + n, [&](const T &each) { return attribute == each.attribute; });
    return found == table + n ? nullptr : found;
}

std::optional<judgement> judge_by_reading(source &where, std::string_view attribute,
                                          const words &numbers) {
    const shown_setting *known = entry_of(shown_settings, attribute);

    if (known == nullptr || numbers.size() < known->numbers || !known->applies(numbers)) {
        return std::nullopt;
    }
    const answer shown = where.read(known->shown_by);
    const std::string expected = known->text(numbers);
    if (shown.error != 0) {
        return std::nullopt;
    }
    if (shown.text.find(expected) == std::string::npos) {
        return judgement{verdict::refused, std::string(known->shown_by) + " does not show it"};
    }
    return judgement{verdict::taken, ""};
}

}  // namespace

std::string complaint_in(const std::vector<std::string> &log) {
    for (const std::string &line : log) {
        for (const char *each : complaints) {
            if (line.find(each) != std::string::npos) {
                return line;
            }
        }
    }
    return "";
}

judgement judge_write(source &where, std::string_view attribute, std::string_view text) {
    const words numbers = words_of(text);
    const silent_attribute *silent = entry_of(silent_attributes, attribute);
    const std::string complaint = complaint_in(where.log());

    if (!complaint.empty()) {
        return {verdict::refused, "the kernel log says: " + complaint};
    }
    if (silent != nullptr && numbers.size() < silent->numbers) {
        return {verdict::refused, "it takes " + std::to_string(silent->numbers) + " numbers"};
    }
    if (const auto judged = judge_by_reading(where, attribute, numbers)) {
        return *judged;
    }
    return {where.has_log() ? verdict::taken : verdict::unknown, ""};
}

}  // namespace ovk
