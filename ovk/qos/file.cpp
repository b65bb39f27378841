// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/qos/file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

#include "ovk/base/failure.h"
#include "ovk/base/whole_file.h"
#include "ovk/source/recording_text.h"
#include "platform/version.h"

namespace ovk {

namespace {

constexpr int settings_format = 1;
constexpr const char *format_member = "ovk_qos";

// The list that has the ports of a kind of block, and what it calls the block.
struct port_list {
    bool of_larb;
    const char *name;
    const char *block;
};

constexpr port_list port_lists[] = {{false, "emi", "channel"}, {true, "larbs", "larb"}};

json json_of(const figure &value) {
    return value ? json(*value) : json();
}

// A port for each object, with all its settings.
json json_of(const port_list &list, const std::map<setting_key, figure> &settings) {
    std::map<std::pair<std::uint64_t, std::uint64_t>, json> ports;
    json all = json::array();

    for (const auto &[key, value] : settings) {
        if (key.of_larb == list.of_larb) {
            json &port = ports[{key.block, key.port}];
            port[list.block] = key.block;
            port["port"] = key.port;
            port[key.name] = json_of(value);
        }
    }
    for (auto &[place, port] : ports) {
        all.push_back(std::move(port));
    }
    return all;
}

json json_of(const std::array<cpu_scope, cpu_scopes> &scopes) {
    json all = json::array();

    for (std::size_t i = 0; i < scopes.size(); ++i) {
        const cpu_scope &scope = scopes[i];
        all.push_back({{"scope", i},
                       {"on", scope.known ? json(scope.range.has_value()) : json()},
                       {"start", scope.range ? json(scope.range->start) : json()},
                       {"end", scope.range ? json(scope.range->end) : json()}});
    }
    return all;
}

json json_of(const qos_file &content) {
    json file = {{format_member, settings_format},
                 {"version", content.version},
                 {"source", json_of_bytes(content.source)}};

    for (const auto &[name, value] : content.facts) {
        file[name] = json_of_bytes(value);
    }
    for (const port_list &list : port_lists) {
        file[list.name] = json_of(list, content.settings.ports);
    }
    file["cpu_ranges"] = json_of(content.settings.cpu);
    file["unreadable"] = json::array();
    for (const std::string &each : content.settings.unreadable) {
        file["unreadable"].push_back(json_of_bytes(each));
    }
    return file;
}

// A line for each member and for each element of a list.
std::string lines_of(const json &file) {
    std::string text;

    for (const auto &[name, value] : file.items()) {
        text += (text.empty() ? "{\n" : ",\n") + json(name).dump() + ": ";
        if (!value.is_array()) {
            text += value.dump();
            continue;
        }
        const char *before = "[\n ";
        for (const json &each : value) {
            text += before + each.dump();
            before = ",\n ";
        }
        text += value.empty() ? "[]" : "]";
    }
    return text + "\n}\n";
}

// Throws json::exception when it is none.
const json::array_t &list_in(const json &file, const char *name) {
    return file.at(name).get_ref<const json::array_t &>();
}

void read_ports(const port_list &list, const json::array_t &ports,
                std::map<setting_key, figure> &into) {
    for (const json &port : ports) {
        for (const setting_kind &kind : setting_kinds) {
            if (kind.of_larb == list.of_larb) {
                const json &value = port.at(kind.name);
                into[{kind.of_larb, port.at(list.block).get<std::uint64_t>(),
                      port.at("port").get<std::uint64_t>(), kind.name}] =
                    value.is_null() ? std::nullopt : figure(value.get<std::uint64_t>());
            }
        }
    }
}

cpu_scope scope_of(const json &value) {
    const json &on = value.at("on");
    cpu_scope scope{.known = !on.is_null()};

    if (scope.known && on.get<bool>()) {
        scope.range = {value.at("start").get<std::uint64_t>(),
                       value.at("end").get<std::uint64_t>()};
    }
    return scope;
}

qos_file qos_file_of(const json &file) {
    qos_file content;

    if (file.at(format_member) != settings_format) {
        throw failure(exit_status::usage, "its format is " + file.at(format_member).dump() +
                                              "; this ovk knows " +
                                              std::to_string(settings_format));
    }
    content.version = file.at("version");
    content.source = bytes_of_json(file.at("source"));
    for (const char *name : fact_names) {
        content.facts[name] = bytes_of_json(file.at(name));
    }
    for (const port_list &list : port_lists) {
        read_ports(list, list_in(file, list.name), content.settings.ports);
    }
    for (const json &each : list_in(file, "cpu_ranges")) {
        const auto scope = each.at("scope").get<std::size_t>();
        if (scope >= cpu_scopes) {
            throw failure(exit_status::usage, "there is no scope " + std::to_string(scope));
        }
        content.settings.cpu.at(scope) = scope_of(each);
    }
    for (const json &each : list_in(file, "unreadable")) {
        content.settings.unreadable.push_back(bytes_of_json(each));
    }
    return content;
}

// Numbers are whole and not below 0, or the library would make them so.
bool has_other_numbers(const json &value) {
    if (value.is_number()) {
        return !value.is_number_unsigned();
    }
    return value.is_structured() && std::any_of(value.begin(), value.end(), has_other_numbers);
}

}  // namespace

qos_file describe_settings(source &from) {
    qos_file content{.version = OVK_VERSION, .source = from.name()};

    for (const char *name : fact_names) {
        content.facts[name] = from.fact(name);
    }
    content.settings = read_settings(from);
    return content;
}

void write_qos_file(const std::string &name, const qos_file &content) {
    write_whole_file(name, lines_of(json_of(content)));
}

qos_file read_qos_file(const std::string &name) {
    std::ifstream file(name, std::ios::binary);
    const std::string next = "; ovk qos save writes such files";

    if (!file) {
        throw failure(exit_status::usage, name + ": can't be read: " + std::strerror(errno) + next);
    }
    try {
        const json content = json::parse(file);
        if (has_other_numbers(content)) {
            throw failure(exit_status::usage, "a number is below 0 or not whole");
        }
        return qos_file_of(content);
    } catch (const std::exception &error) {
        throw failure(exit_status::usage, name + ": no settings: " + error.what() + next);
    }
}

}  // namespace ovk
