// SPDX-License-Identifier: GPL-2.0-only
#include "soc/scenario.h"

#include <toml++/toml.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace soc {

namespace {

constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
// Above any memory this family can have; keeps the sums of rates well inside 64 bits.
constexpr std::uint32_t highest_rate = 1'000'000;
constexpr std::uint32_t longest_time = 1'000'000'000;

// The numbers of a [[source]], with the range that each must keep to.
struct flow_key {
    std::string_view name;
    std::uint32_t flow::*member;
    std::uint32_t low;
    std::uint32_t high;
};

constexpr flow_key flow_keys[] = {
    {"read", &flow::read, 0, highest_rate},       {"write", &flow::write, 0, highest_rate},
    {"efficiency", &flow::efficiency, 1, 100},    {"ultra", &flow::ultra, 0, 100},
    {"preultra", &flow::preultra, 0, 100},        {"burst", &flow::burst, 0, most},
    {"latency", &flow::latency, 0, longest_time}, {"period", &flow::period, 0, longest_time},
};

// Where in a file something was wrong, and what.
class complaint : public std::runtime_error {
  public:
    complaint(const toml::source_region &place, const std::string &what)
        : std::runtime_error(std::to_string(place.begin.line) + ": " + what) {}
};

std::string in_quotes(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

bool take_prefix(std::string_view &text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

// The whole text as a number, or nothing.
std::optional<std::uint32_t> number(std::string_view text, int base = 10) {
    std::uint32_t value = 0;
    const char *end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value, base);
    if (error != std::errc() || rest != end) {
        return std::nullopt;
    }
    return value;
}

std::uint32_t whole_number(const toml::node &value, std::string_view key, std::uint32_t low,
                           std::uint32_t high) {
    const auto got = value.value_exact<std::int64_t>();
    if (!got || *got < low || *got > high) {
        throw complaint(value.source(), std::string(key) + " must be a whole number from " +
                                            std::to_string(low) + " to " + std::to_string(high));
    }
    return static_cast<std::uint32_t>(*got);
}

std::string words(const toml::node &value, std::string_view key) {
    const auto got = value.value_exact<std::string>();
    if (!got) {
        throw complaint(value.source(), std::string(key) + " must be a string");
    }
    return *got;
}

const toml::table &as_table(const toml::node &value, std::string_view key) {
    const toml::table *table = value.as_table();
    if (table == nullptr) {
        throw complaint(value.source(), std::string(key) + " must be a table");
    }
    return *table;
}

// BLOCK:PORT, where BLOCK is `prefix` and the block's number.
bool parse_numbered(std::string_view text, std::string_view prefix, source &into) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos || !take_prefix(text, prefix)) {
        return false;
    }
    const auto block = number(text.substr(0, text.find(':')));
    const auto port = number(text.substr(text.find(':') + 1));
    if (!block || !port) {
        return false;
    }
    into.block = *block;
    into.port = *port;
    return true;
}

bool parse_emi_port(std::string_view text, source &into) {
    if (!take_prefix(text, "emi:")) {
        return false;
    }
    const auto port = number(text);
    into.block = 0;
    into.port = port.value_or(0);
    return port.has_value();
}

void parse_place(const toml::node &value, source &into) {
    const std::string at = words(value, "at");
    if (parse_numbered(at, "larb", into)) {
        into.kind = source_kind::larb_port;
    } else if (parse_numbered(at, "smi_common", into)) {
        into.kind = source_kind::common_input;
    } else if (parse_emi_port(at, into)) {
        into.kind = source_kind::emi_port;
    } else {
        throw complaint(value.source(), in_quotes(at) +
                                            " is no source; write larbN:PORT, smi_commonN:PORT or "
                                            "emi:PORT");
    }
}

void parse_flow(std::string_view key, const toml::node &value, flow &into) {
    const auto *known = std::find_if(std::begin(flow_keys), std::end(flow_keys),
                                     [&](const flow_key &each) { return each.name == key; });
    if (known == std::end(flow_keys)) {
        throw complaint(value.source(), "unknown key " + in_quotes(key) + " in a source");
    }
    into.*known->member = whole_number(value, key, known->low, known->high);
}

source parse_source(const toml::node &value) {
    const toml::table &table = as_table(value, "source");
    source result{};
    const toml::node *at = table.get("at");
    if (at == nullptr) {
        throw complaint(table.source(), "a source lacks \"at\"");
    }
    parse_place(*at, result);
    for (const auto &[key, entry] : table) {
        if (key.str() != "at") {
            parse_flow(key.str(), entry, result.traffic);
        }
    }
    return result;
}

bool same_place(const source &a, const source &b) {
    return a.kind == b.kind && a.block == b.block && a.port == b.port;
}

void parse_sources(const toml::node &value, std::vector<source> &into) {
    const toml::array *entries = value.as_array();
    if (entries == nullptr) {
        throw complaint(value.source(), "source must be an array of tables, [[source]]");
    }
    for (const toml::node &entry : *entries) {
        const source parsed = parse_source(entry);
        const bool duplicate = std::any_of(into.begin(), into.end(), [&](const source &other) {
            return same_place(other, parsed);
        });
        if (duplicate) {
            throw complaint(entry.source(), "a second source at the same port");
        }
        into.push_back(parsed);
    }
}

// NODE+0xOFFSET
preset parse_preset(std::string_view key, const toml::node &value) {
    const auto plus = key.rfind("+0x");
    const auto offset = plus == std::string_view::npos || plus == 0
                            ? std::nullopt
                            : number(key.substr(plus + 3), 16);
    if (!offset || *offset % sizeof(std::uint32_t) != 0) {
        throw complaint(value.source(), in_quotes(key) + " is no register; write NODE+0xOFFSET");
    }
    return {std::string(key.substr(0, plus)), *offset, whole_number(value, key, 0, most)};
}

void parse_presets(const toml::node &value, std::vector<preset> &into) {
    for (const auto &[key, entry] : as_table(value, "registers")) {
        into.push_back(parse_preset(key.str(), entry));
    }
}

scenario parse(const toml::table &root) {
    scenario result;
    for (const auto &[key, value] : root) {
        if (key.str() == "title") {
            result.title = words(value, "title");
        } else if (key.str() == "source") {
            parse_sources(value, result.sources);
        } else if (key.str() == "registers") {
            parse_presets(value, result.presets);
        } else {
            throw complaint(key.source(), "unknown key " + in_quotes(key.str()));
        }
    }
    return result;
}

}  // namespace

scenario scenario::from_file(const std::filesystem::path &file) {
    try {
        return parse(toml::parse_file(file.string()));
    } catch (const toml::parse_error &error) {
        throw std::runtime_error(file.string() + ":" + std::to_string(error.source().begin.line) +
                                 ": " + std::string(error.description()));
    } catch (const complaint &error) {
        throw std::runtime_error(file.string() + ":" + error.what());
    }
}

}  // namespace soc
